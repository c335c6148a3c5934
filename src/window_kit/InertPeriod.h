#pragma once

#include <QObject>
#include <QTimer>

class QWidget;

// Keeps a window deaf for the first moments after it has come up by itself: what the person was
// typing into another window just then presses nothing in it.
//
// Keys are not heard for 600 ms, and one that was held down through that time not until it is let
// go. The mouse can be kept out likewise, for a window whose question has just changed under the
// pointer. Main thread; lives as long as its window.
class InertPeriod : public QObject {
    Q_OBJECT

public:
    enum class Inputs { Keyboard, KeyboardAndMouse };

    explicit InertPeriod(QWidget* window);

    // Begins the period, or begins it again.
    void begin(Inputs inputs);

    // For a window that the person goes on in: only a key that is held down from before is not
    // heard until it is let go.
    void ignoreHeldKey();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] bool isToBeDropped(QEvent* event);

    QWidget* const m_window;
    QTimer m_period;
    Inputs m_inputs = Inputs::Keyboard;
    bool m_isKeyHeld = false; // perhaps, until a key is pressed anew
};
