#include "Platform/DBus/BusGreeting.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include <QByteArray>
#include <QMetaObject>
#include <QSocketNotifier>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace nocta {

namespace {

/// The name of the first socket of this machine in a list of addresses ("unix:path=/run/bus;tcp:host=..."), as the
/// kernel takes it: one in the abstract namespace begins with a zero.
std::optional<std::string> socketName(std::string_view addresses) {
    constexpr std::string_view transport = "unix:";
    while (!addresses.empty()) {
        auto address = addresses.substr(0, addresses.find(';'));
        addresses.remove_prefix(std::min(address.size() + 1, addresses.size()));
        if (!address.starts_with(transport)) {
            continue;
        }
        address.remove_prefix(transport.size());
        while (!address.empty()) {
            const auto entry = address.substr(0, address.find(','));
            address.remove_prefix(std::min(entry.size() + 1, address.size()));
            for (const auto& [key, prefix] : {std::pair(std::string_view("path="), std::string()),
                                              std::pair(std::string_view("abstract="), std::string(1, '\0'))}) {
                if (entry.starts_with(key) && entry.size() > key.size()) {
                    const auto value = entry.substr(key.size());
                    return prefix + QByteArray::fromPercentEncoding(
                                        QByteArray(value.data(), static_cast<qsizetype>(value.size())))
                                        .toStdString();
                }
            }
        }
    }
    return std::nullopt;
}

} // namespace

BusGreeting::BusGreeting(std::string_view address, std::function<void()> onAnswer) {
    switch (greet(address)) {
    case Greeting::pointless:
        QMetaObject::invokeMethod(&context, std::move(onAnswer), Qt::QueuedConnection);
        break;
    case Greeting::sent:
        answer = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
        QObject::connect(answer.get(), &QSocketNotifier::activated, &context, [this, onAnswer = std::move(onAnswer)] {
            answer->setEnabled(false);
            const auto call = onAnswer; // may destroy this
            call();
        });
        break;
    case Greeting::impossible:
        break;
    }
}

BusGreeting::~BusGreeting() {
    answer.reset();
    if (descriptor >= 0) {
        close(descriptor);
    }
}

BusGreeting::Greeting BusGreeting::greet(std::string_view address) {
    const auto name = socketName(address);
    sockaddr_un place{};
    if (!name || name->size() >= sizeof place.sun_path) {
        return Greeting::pointless;
    }
    descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    place.sun_family = AF_UNIX;
    std::memcpy(place.sun_path, name->data(), name->size());
    // A path ends with a zero, an abstract name with its size.
    const std::size_t end = name->front() == '\0' ? 0 : 1;
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name->size() + end);
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&place), size) != 0) { // NOLINT
        return errno == EAGAIN ? Greeting::impossible : Greeting::pointless;
    }
    // Asks in which ways one may prove who one is. Every bus answers that.
    constexpr std::string_view question("\0AUTH\r\n", 7);
    const auto count = send(descriptor, question.data(), question.size(), MSG_NOSIGNAL);
    return count == static_cast<ssize_t>(question.size()) ? Greeting::sent : Greeting::pointless;
}

} // namespace nocta
