// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QSize>
#include <functional>
#include <string>
#include <vector>

// A benchmark case: setup runs untimed before every repetition and returns
// the timed body. The program prints name, size and the median time.
struct BenchCase
{
    std::string name;
    QSize size;
    std::function<std::function<void()>()> setup;
    int repetitions = 5;
};

std::vector<BenchCase>& benchCases();

struct BenchRegistrar
{
    explicit BenchRegistrar(std::vector<BenchCase> cases);
};

// An opaque photo-like test picture: smooth gradients with fine noise,
// the same pixels on every run.
QImage bench_photo(int width, int height);
