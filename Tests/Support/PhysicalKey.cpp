#include "Support/PhysicalKey.h"

#include "Support/Process.h"

#include <stdexcept>

namespace nocta::test {

void pressPhysicalI(const std::vector<std::string>& modifiers) {
    // wtype numbers the keys that it is to press by their first appearance, and this one has the kernel's number 23.
    constexpr int number = 23;
    std::vector<std::string> arguments{"wtype", "-s", "100"};
    for (int i = 1; i < number; ++i) {
        arguments.insert(arguments.end(), {"-k", "F" + std::to_string(i)});
    }
    for (const auto& modifier : modifiers) {
        arguments.insert(arguments.end(), {"-M", modifier});
    }
    arguments.insert(arguments.end(), {"-k", "i"});
    for (const auto& modifier : modifiers) {
        arguments.insert(arguments.end(), {"-m", modifier});
    }
    arguments.insert(arguments.end(), {"-s", "50"});
    Process typing(std::move(arguments));
    if (typing.waitForEnd() != Ending{.exitStatus = 0}) {
        throw std::runtime_error("nothing is typed: " + typing.errors());
    }
}

} // namespace nocta::test
