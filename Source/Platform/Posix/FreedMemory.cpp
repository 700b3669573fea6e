#include "Platform/Posix/FreedMemory.h"

#include <malloc.h>

namespace nocta {

void returnFreedMemory() {
    malloc_trim(0);
}

} // namespace nocta
