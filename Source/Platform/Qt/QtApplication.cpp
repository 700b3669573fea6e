#include "Platform/Qt/QtApplication.h"

namespace nocta {

QtApplication::QtApplication(int& argc, char** argv) : application(argc, argv) {
    QCoreApplication::setApplicationName(QStringLiteral("nocta"));
}

void QtApplication::setActivationPolicy(ActivationPolicy policy) {
    // What a task bar shows are windows, and this process opens none of that kind; what is left of the policy is that
    // the program lives on without them.
    QCoreApplication::setQuitLockEnabled(policy == ActivationPolicy::regular);
}

int QtApplication::run(ApplicationDelegate& delegate) {
    delegate.applicationDidFinishLaunching();
    if (!exitStatus) {
        QCoreApplication::exec();
    }
    delegate.applicationWillTerminate();
    return exitStatus.value_or(0);
}

void QtApplication::terminate(int status) {
    if (!exitStatus) {
        exitStatus = status;
        QCoreApplication::quit();
    }
}

} // namespace nocta
