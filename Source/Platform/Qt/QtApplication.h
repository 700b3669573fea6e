#pragma once

#include "Platform/Application.h"

#include <optional>

#include <QCoreApplication>

namespace nocta {

/// The process's Qt application.
class QtApplication final : public Application {
  public:
    /// `argc` and `argv` outlive the application.
    QtApplication(int& argc, char** argv);

    void setActivationPolicy(ActivationPolicy policy) override;
    int run(ApplicationDelegate& delegate) override;
    void terminate(int status) override;

  private:
    QCoreApplication application;
    std::optional<int> exitStatus;
};

} // namespace nocta
