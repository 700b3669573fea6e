#include "Control/Commands.h"

#include <string>
#include <vector>

int main(int argc, char** argv) {
    // A caller may leave out even the program's name.
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    return nocta::runCommand(arguments);
}
