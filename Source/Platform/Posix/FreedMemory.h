#pragma once

namespace nocta {

/// Gives the system back what the process has freed and the allocator keeps: worth its milliseconds after many objects
/// have gone for a long time.
void returnFreedMemory();

} // namespace nocta
