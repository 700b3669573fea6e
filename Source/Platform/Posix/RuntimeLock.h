#pragma once

#include <string>

namespace nocta {

/// A lock that one process of a user can hold at a time. It ends with the process, however that ends.
class RuntimeLock {
  public:
    enum class Result {
        acquired,
        heldByAnother,
        unavailable, ///< there is no place where the file could stand
    };

    RuntimeLock() = default;
    RuntimeLock(const RuntimeLock&) = delete;
    RuntimeLock& operator=(const RuntimeLock&) = delete;
    ~RuntimeLock();

    /// `name` becomes a file name: what is not a letter, a digit, a dot or a hyphen is replaced in it. The file stands
    /// in $XDG_RUNTIME_DIR, or where that is no place for it in a folder of the user's own under /tmp. Never waits.
    [[nodiscard]] Result acquire(const std::string& name);

  private:
    int descriptor = -1;
};

} // namespace nocta
