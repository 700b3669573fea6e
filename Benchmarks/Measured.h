#pragma once

#include "Support/ProcessorUse.h"

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace nocta::test {

struct Spread {
    double median = 0;
    double worst = 0;
};

inline Spread spreadOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return {.median = values[values.size() / 2], .worst = values.back()};
}

inline Spread repeated(int times, const std::function<double()>& measure) {
    std::vector<double> values;
    values.reserve(static_cast<std::size_t>(times));
    for (int i = 0; i < times; ++i) {
        values.push_back(measure());
    }
    return spreadOf(values);
}

inline void require(bool holds, const char* what) {
    if (!holds) {
        throw std::runtime_error(std::string("did not happen: ") + what);
    }
}

} // namespace nocta::test
