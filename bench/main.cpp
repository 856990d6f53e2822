// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QElapsedTimer>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "bench.h"

// CPU time of the whole process (all threads): wall time alone misleads on a
// machine that other jobs share.
static double process_cpu_ms()
{
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) / 1e6;
}

std::vector<BenchCase>& benchCases()
{
    static std::vector<BenchCase> cases;
    return cases;
}

BenchRegistrar::BenchRegistrar(std::vector<BenchCase> cases)
{
    for (auto& c : cases)
        benchCases().push_back(std::move(c));
}

QImage bench_photo(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    quint32 noise = 12345;
    for (int y = 0; y < height; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            noise = noise * 1664525u + 1013904223u;
            const int n = int(noise >> 28) - 8;
            const int r = std::clamp(x * 255 / std::max(1, width - 1) + n, 0, 255);
            const int g = std::clamp(y * 255 / std::max(1, height - 1) + n, 0, 255);
            const int b = std::clamp(((x + y) / 7) % 256 + n, 0, 255);
            line[x] = qRgb(r, g, b);
        }
    }
    return image;
}

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const char* only = argc > 1 ? argv[1] : nullptr;
    for (const BenchCase& c : benchCases()) {
        if (only && !std::strstr(c.name.c_str(), only))
            continue;
        std::vector<double> times;
        std::vector<double> cpuTimes;
        for (int i = 0; i < c.repetitions; ++i) {
            std::function<void()> body = c.setup();
            QElapsedTimer timer;
            const double cpuStart = process_cpu_ms();
            timer.start();
            body();
            times.push_back(timer.nsecsElapsed() / 1e6);
            cpuTimes.push_back(process_cpu_ms() - cpuStart);
        }
        std::sort(times.begin(), times.end());
        std::sort(cpuTimes.begin(), cpuTimes.end());
        std::printf("%-40s %5dx%-5d %10.2f ms %10.2f ms cpu\n", c.name.c_str(), c.size.width(),
                    c.size.height(), times[times.size() / 2], cpuTimes[cpuTimes.size() / 2]);
        std::fflush(stdout);
    }
    return 0;
}
