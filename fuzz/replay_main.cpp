// SPDX-License-Identifier: MIT
// Runs the Open-path fuzz target without libFuzzer: every file of the given
// corpus, then a number of deterministic mutations of them. A crash, a case
// that runs longer than the time-out or one whose memory peak passes the
// limit stops the run with the offending input saved for replay.
#include <QByteArray>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QStringList>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <unistd.h>
#include <vector>

#include "app/imagefile.h"
#include "fuzz_open.h"
#include "mutate.h"
#include "support/procmemory.h"

namespace {

struct Options
{
    long mutations = 2000;
    unsigned seed = 1;
    unsigned timeoutSeconds = 5;
    long rssLimitMiB = 3L * kImageAllocationLimitMiB + 512;
    QString artifacts = QStringLiteral(".");
    QStringList corpus;
};

// What the signal handlers need, prepared before each case: they may only
// make async-signal-safe calls.
const std::vector<uint8_t>* currentInput = nullptr;
char crashPath[4096];
char currentName[512];

void write_text(const char* text)
{
    const ssize_t ignored = write(STDERR_FILENO, text, std::strlen(text));
    (void)ignored;
}

void save_current_input()
{
    if (!currentInput)
        return;
    const int fd = open(crashPath, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0)
        return;
    const ssize_t ignored = write(fd, currentInput->data(), currentInput->size());
    (void)ignored;
    close(fd);
}

void on_fatal_signal(int sig)
{
    write_text(sig == SIGALRM ? "fuzz_open_replay: HANG in case "
                              : "fuzz_open_replay: CRASH in case ");
    write_text(currentName);
    write_text("; input saved as ");
    write_text(crashPath);
    write_text("\n");
    save_current_input();
    if (sig == SIGALRM)
        _exit(3);
    signal(sig, SIG_DFL);
    raise(sig);
}

void install_handlers()
{
    for (int sig : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGALRM})
        signal(sig, on_fatal_signal);
}

Options parse(int argc, char** argv)
{
    Options o;
    for (int i = 1; i < argc; ++i) {
        const QString arg = QString::fromLocal8Bit(argv[i]);
        const QString value = arg.section('=', 1);
        if (arg.startsWith("--mutations="))
            o.mutations = value.toLong();
        else if (arg.startsWith("--seed="))
            o.seed = value.toUInt();
        else if (arg.startsWith("--timeout="))
            o.timeoutSeconds = value.toUInt();
        else if (arg.startsWith("--rss-limit-mb="))
            o.rssLimitMiB = value.toLong();
        else if (arg.startsWith("--artifacts="))
            o.artifacts = value;
        else
            o.corpus << arg;
    }
    if (const QByteArray env = qgetenv("ZARN_FUZZ_MUTATIONS"); !env.isEmpty())
        o.mutations = env.toLong();
    return o;
}

std::vector<std::vector<uint8_t>> read_corpus(const QStringList& paths, QStringList* names)
{
    QStringList files;
    for (const QString& path : paths) {
        if (QFileInfo(path).isDir()) {
            QDirIterator it(path, QDir::Files, QDirIterator::Subdirectories);
            while (it.hasNext())
                files << it.next();
        } else {
            files << path;
        }
    }
    std::sort(files.begin(), files.end());
    std::vector<std::vector<uint8_t>> inputs;
    for (const QString& file : files) {
        QFile f(file);
        if (!f.open(QIODevice::ReadOnly))
            continue;
        const QByteArray bytes = f.readAll();
        inputs.emplace_back(bytes.begin(), bytes.end());
        *names << QFileInfo(file).fileName();
    }
    return inputs;
}

struct Runner
{
    Options options;
    long baselineKiB = 0;
    long cases = 0;
    long worstPeakMiB = 0;

    void run(const std::vector<uint8_t>& input, const QString& name)
    {
        currentInput = &input;
        std::snprintf(currentName, sizeof currentName, "%s", qPrintable(name));
        resetPeakRss();
        const long before = procStatusKiB("VmRSS");
        alarm(options.timeoutSeconds);
        fuzz_open_one(input.data(), input.size());
        alarm(0);
        const long peakMiB = (procStatusKiB("VmHWM") - before) / 1024;
        worstPeakMiB = std::max(worstPeakMiB, peakMiB);
        ++cases;
        if (peakMiB > options.rssLimitMiB) {
            std::fprintf(stderr, "fuzz_open_replay: OVER MEMORY LIMIT (%ld MiB > %ld MiB) in %s\n",
                         peakMiB, options.rssLimitMiB, currentName);
            save_current_input();
            std::exit(4);
        }
    }
};

} // namespace

int main(int argc, char** argv)
{
    Runner runner{parse(argc, argv)};
    fuzz_open_setup();
    QDir().mkpath(runner.options.artifacts);
    std::snprintf(crashPath, sizeof crashPath, "%s/crash-input.bin",
                  qPrintable(QDir(runner.options.artifacts).absolutePath()));
    install_handlers();

    QStringList names;
    const auto corpus = read_corpus(runner.options.corpus, &names);
    if (corpus.empty()) {
        std::fprintf(stderr, "fuzz_open_replay: empty corpus\n");
        return 2;
    }
    for (size_t i = 0; i < corpus.size(); ++i)
        runner.run(corpus[i], names[int(i)]);

    std::mt19937 rng(runner.options.seed);
    for (long m = 0; m < runner.options.mutations; ++m) {
        const size_t from = size_t(m) % corpus.size();
        runner.run(mutate(corpus[from], rng),
                   QStringLiteral("mutation %1 of %2").arg(m).arg(names[int(from)]));
    }
    std::printf("fuzz_open_replay: %ld cases (%zu corpus files, %ld mutations, seed %u), "
                "0 crashes, 0 hangs over %u s, worst memory peak %ld MiB (limit %ld MiB)\n",
                runner.cases, corpus.size(), runner.options.mutations, runner.options.seed,
                runner.options.timeoutSeconds, runner.worstPeakMiB, runner.options.rssLimitMiB);
    std::fflush(stdout);
    return 0;
}
