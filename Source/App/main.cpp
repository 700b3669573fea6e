#include "App/AppDelegate.h"
#include "App/Program.h"

int main(int /*argc*/, char** argv) {
    nocta::AppDelegate delegate;
    return nocta::runProgram(argv, delegate, [&delegate] { delegate.cyclePreset(); });
}
