#pragma once

#include "Platform/WindowHost.h"

#include <QColor>
#include <QFont>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace nocta {

/// A text and its style.
class OverlayText {
    Q_GADGET
    QML_VALUE_TYPE(overlayText)
    Q_PROPERTY(QString text MEMBER text FINAL)
    Q_PROPERTY(QFont font MEMBER font FINAL)
    Q_PROPERTY(QColor color MEMBER color FINAL)

  public:
    QString text;
    QFont font;
    QColor color;

    bool operator==(const OverlayText&) const = default;
};

/// What the scene of a break overlay binds to.
class OverlayModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to a window.")
    Q_PROPERTY(nocta::OverlayText eye READ eye NOTIFY contentChanged FINAL)
    Q_PROPERTY(nocta::OverlayText title READ title NOTIFY contentChanged FINAL)
    Q_PROPERTY(nocta::OverlayText subtitle READ subtitle NOTIFY contentChanged FINAL)
    Q_PROPERTY(nocta::OverlayText countdown READ countdown NOTIFY contentChanged FINAL)
    Q_PROPERTY(nocta::OverlayText skip READ skip NOTIFY contentChanged FINAL)
    /// How much of the bar is filled, in [0, 1].
    Q_PROPERTY(qreal progress READ progress NOTIFY contentChanged FINAL)
    /// Of everything but the background.
    Q_PROPERTY(qreal opacity READ opacity NOTIFY opacityChanged FINAL)
    /// Whether the mouse has an effect.
    Q_PROPERTY(bool takesInput READ takesInput NOTIFY takesInputChanged FINAL)

  public:
    void setContent(const OverlayContent& content);
    void setOpacity(qreal opacity);
    void setTakesInput(bool takesInput);

    [[nodiscard]] OverlayText eye() const;
    [[nodiscard]] OverlayText title() const;
    [[nodiscard]] OverlayText subtitle() const;
    [[nodiscard]] OverlayText countdown() const;
    [[nodiscard]] OverlayText skip() const;
    [[nodiscard]] qreal progress() const;
    [[nodiscard]] qreal opacity() const { return currentOpacity; }
    [[nodiscard]] bool takesInput() const { return inputIsTaken; }

  Q_SIGNALS:
    void contentChanged();
    void opacityChanged();
    void takesInputChanged();
    /// To be emitted by the scene, once for every press of the skip button.
    void skipPressed();

  private:
    OverlayContent content;
    qreal currentOpacity = 1;
    bool inputIsTaken = true;
};

} // namespace nocta
