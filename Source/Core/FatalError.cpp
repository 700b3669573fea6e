#include "Core/FatalError.h"

#include <cstdio>
#include <cstdlib>

namespace nocta {

void fatalError(std::string_view message) {
    std::fprintf(stderr, "Fatal error: %.*s\n", static_cast<int>(message.size()), message.data());
    std::abort();
}

} // namespace nocta
