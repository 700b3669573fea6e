#pragma once

#include "Platform/Application.h"

#include <QGuiApplication>

namespace nocta {

/// The process's Qt application. Its windows come from the display server that the environment names; without one that
/// answers, Qt ends the process.
class QtApplication final : public Application {
  public:
    /// `platformName` is Qt's name of the window system to use, whatever the environment prefers. `argv`, of which only
    /// the program's name is read, outlives the application. Where Qt is the first to find that the display server has
    /// gone, it calls `onServerLost` and then ends the process with status 1.
    QtApplication(const char* platformName, char** argv, void (*onServerLost)());

    void setActivationPolicy(ActivationPolicy policy) override;
    void run(ApplicationDelegate& delegate) override;
    void terminate() override;

  private:
    int argumentCount = 1;
    QGuiApplication application;
    bool isEnding = false;
};

} // namespace nocta
