#pragma once

#include <QObject>

namespace nocta::test {

/// How often an object has emitted a signal since.
class SignalCount {
  public:
    template <class Sender, class Model>
    SignalCount(const Sender& sender, void (Model::*signal)())
        : connection(QObject::connect(&sender, signal, [this] { ++emissions; })) {}
    SignalCount(const SignalCount&) = delete;
    SignalCount& operator=(const SignalCount&) = delete;
    ~SignalCount() { QObject::disconnect(connection); }

    [[nodiscard]] int count() const { return emissions; }

  private:
    int emissions = 0;
    QMetaObject::Connection connection;
};

} // namespace nocta::test
