#include "Core/GammaTable.h"

#include <cstdlib>
#include <new>

#include <benchmark/benchmark.h>

// NOLINTBEGIN(cppcoreguidelines-no-malloc): what stands behind new has to

namespace {

std::size_t allocations = 0;

} // namespace

// Not inlined: where only one of a pair is, the compiler takes them for strangers.
[[gnu::noinline]] void* operator new(std::size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

// NOLINTEND(cppcoreguidelines-no-malloc)

namespace {

/// One frame's tables: 3 x 256 entries.
void buildTable(benchmark::State& state) {
    double factor = 0.3;
    const std::size_t before = allocations;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(factor);
        auto table = nocta::GammaTable::build(1.0, factor, factor, 0.8);
        benchmark::DoNotOptimize(table);
    }
    state.counters["allocations"] = static_cast<double>(allocations - before);
}
BENCHMARK(buildTable);

} // namespace
