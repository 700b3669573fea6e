#include "Platform/Posix/RuntimeLock.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace nocta {

namespace {

/// Creates or opens a file of ours in `folder`; -1 where that cannot be done.
int openIn(const std::string& folder, const std::string& fileName) {
    return open((folder + "/" + fileName).c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
}

/// A folder of the user's own, for sessions without a usable runtime folder. Empty where somebody else has taken its
/// name.
std::string ownFolder() {
    std::string folder = "/tmp/nocta-" + std::to_string(getuid());
    mkdir(folder.c_str(), S_IRWXU);
    struct stat info {};
    const bool isOurs = lstat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == getuid();
    return isOurs ? folder : std::string();
}

/// -1 where there is no place for it.
int openLockFile(const std::string& fileName) {
    int descriptor = -1;
    if (const char* folder = std::getenv("XDG_RUNTIME_DIR"); folder != nullptr && *folder != '\0') {
        descriptor = openIn(folder, fileName);
    }
    if (descriptor < 0) {
        if (const std::string folder = ownFolder(); !folder.empty()) {
            descriptor = openIn(folder, fileName);
        }
    }
    return descriptor;
}

} // namespace

RuntimeLock::~RuntimeLock() {
    if (descriptor >= 0) {
        close(descriptor);
    }
}

RuntimeLock::Result RuntimeLock::acquire(const std::string& name) {
    std::string fileName = name;
    std::ranges::replace_if(
        fileName, [](unsigned char c) { return std::isalnum(c) == 0 && c != '.' && c != '-'; }, '_');
    descriptor = openLockFile(fileName);
    if (descriptor < 0) {
        return Result::unavailable;
    }
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        const bool isHeld = errno == EWOULDBLOCK;
        close(descriptor);
        descriptor = -1;
        return isHeld ? Result::heldByAnother : Result::unavailable;
    }
    return Result::acquired;
}

} // namespace nocta
