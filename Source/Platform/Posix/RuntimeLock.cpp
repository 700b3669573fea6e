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

/// Empty where no folder can be trusted.
std::string runtimeFolder() {
    if (const char* folder = std::getenv("XDG_RUNTIME_DIR"); folder != nullptr && *folder != '\0') {
        return folder;
    }
    std::string folder = "/tmp/nocta-" + std::to_string(getuid());
    mkdir(folder.c_str(), S_IRWXU);
    struct stat info {};
    const bool isOurs = lstat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == getuid();
    return isOurs ? folder : std::string();
}

} // namespace

RuntimeLock::~RuntimeLock() {
    if (descriptor >= 0) {
        close(descriptor);
    }
}

RuntimeLock::Result RuntimeLock::acquire(const std::string& name) {
    const std::string folder = runtimeFolder();
    if (folder.empty()) {
        return Result::unavailable;
    }
    std::string fileName = name;
    std::ranges::replace_if(
        fileName, [](unsigned char c) { return std::isalnum(c) == 0 && c != '.' && c != '-'; }, '_');
    const std::string path = folder + "/" + fileName;
    descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
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
