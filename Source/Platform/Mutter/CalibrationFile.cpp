#include "Platform/Mutter/CalibrationFile.h"

#include <cerrno>
#include <cstdlib>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace nocta {

namespace {

using std::chrono::steady_clock;

/// All of a file of ours, unless it is larger than any record.
std::vector<std::byte> contentOf(int descriptor) {
    struct stat info {};
    if (fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode) || info.st_uid != geteuid() || info.st_size < 0 ||
        static_cast<std::size_t>(info.st_size) > CalibrationRecord::largestEncoding) {
        return {};
    }
    std::vector<std::byte> content(static_cast<std::size_t>(info.st_size));
    std::size_t have = 0;
    while (have < content.size()) {
        const auto count = ::read(descriptor, content.data() + have, content.size() - have);
        if (count == 0 || (count < 0 && errno != EINTR)) {
            break;
        }
        have += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    content.resize(have);
    return content;
}

bool writeAll(int descriptor, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const auto count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        bytes = bytes.subspan(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return true;
}

} // namespace

CalibrationFile::CalibrationFile() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment
    if (const char* folder = std::getenv("XDG_RUNTIME_DIR"); folder != nullptr && *folder == '/') {
        path = std::string(folder) + "/nocta-calibration";
    }
}

CalibrationFile::Lock::Lock(const std::string& path, std::chrono::milliseconds patience) {
    constexpr int pauseMilliseconds = 5;
    if (!path.starts_with('/')) {
        return; // no folder, and so no file to keep others from
    }
    descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
    if (descriptor < 0) {
        return;
    }
    const auto end = steady_clock::now() + patience;
    while (!(isOurs = flock(descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK)) {
        if (steady_clock::now() >= end) {
            return;
        }
        poll(nullptr, 0, pauseMilliseconds);
    }
}

CalibrationFile::Lock::~Lock() {
    if (descriptor >= 0) {
        close(descriptor);
    }
}

std::optional<CalibrationRecord> CalibrationFile::read() const {
    // Not waited for, should somebody have put a pipe there.
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (descriptor < 0) {
        return std::nullopt;
    }
    const auto content = contentOf(descriptor);
    close(descriptor);
    return CalibrationRecord::decode(content);
}

void CalibrationFile::write(std::span<const std::byte> encodedRecord) const {
    if (path.empty()) {
        return;
    }
    const std::string unfinished = path + ".new";
    unlink(unfinished.c_str());
    const int descriptor =
        open(unfinished.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
    const bool isWritten = descriptor >= 0 && writeAll(descriptor, encodedRecord);
    if (descriptor >= 0) {
        close(descriptor);
    }
    if (!isWritten || rename(unfinished.c_str(), path.c_str()) != 0) {
        unlink(unfinished.c_str());
        remove();
    }
}

void CalibrationFile::remove() const {
    unlink(path.c_str());
}

} // namespace nocta
