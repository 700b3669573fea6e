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

/// What the scene of a break overlay binds to. Each change is told by itself: every second brings another figure, and
/// nothing but that is to be laid out and drawn anew.
class OverlayModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to a window.")
    Q_PROPERTY(nocta::OverlayText eye READ eye NOTIFY eyeChanged FINAL)
    Q_PROPERTY(nocta::OverlayText title READ title NOTIFY titleChanged FINAL)
    Q_PROPERTY(nocta::OverlayText subtitle READ subtitle NOTIFY subtitleChanged FINAL)
    Q_PROPERTY(nocta::OverlayText countdown READ countdown NOTIFY countdownChanged FINAL)
    Q_PROPERTY(nocta::OverlayText skip READ skip NOTIFY skipChanged FINAL)
    /// How much of the bar is filled, in [0, 1].
    Q_PROPERTY(qreal progress READ progress NOTIFY progressChanged FINAL)
    /// Of everything but the background.
    Q_PROPERTY(qreal opacity READ opacity NOTIFY opacityChanged FINAL)
    /// Whether the mouse has an effect.
    Q_PROPERTY(bool takesInput READ takesInput NOTIFY takesInputChanged FINAL)

  public:
    void setContent(const OverlayContent& content);
    void setOpacity(qreal opacity);
    void setTakesInput(bool takesInput);

    [[nodiscard]] OverlayText eye() const { return eyeText; }
    [[nodiscard]] OverlayText title() const { return titleText; }
    [[nodiscard]] OverlayText subtitle() const { return subtitleText; }
    [[nodiscard]] OverlayText countdown() const { return countdownText; }
    [[nodiscard]] OverlayText skip() const { return skipText; }
    [[nodiscard]] qreal progress() const { return filled; }
    [[nodiscard]] qreal opacity() const { return currentOpacity; }
    [[nodiscard]] bool takesInput() const { return inputIsTaken; }

  Q_SIGNALS:
    void eyeChanged();
    void titleChanged();
    void subtitleChanged();
    void countdownChanged();
    void skipChanged();
    void progressChanged();
    void opacityChanged();
    void takesInputChanged();
    /// To be emitted by the scene, once for every press of the skip button.
    void skipPressed();

  private:
    OverlayText eyeText;
    OverlayText titleText;
    OverlayText subtitleText;
    OverlayText countdownText;
    OverlayText skipText;
    qreal filled = 0;
    qreal currentOpacity = 1;
    bool inputIsTaken = true;
};

} // namespace nocta
