#pragma once

#include <QObject>
#include <QTimer>

class QWidget;

// Keeps a window deaf when it has come up by itself: what the person was typing or clicking
// elsewhere just then does nothing in it.
//
// Keys and input methods' text are dropped until the person clicks in the window, or until the
// keyboard was quiet for a second. That second counts from the window's exposure, and each key that
// is dropped begins it anew. The mouse can be kept out likewise for 600 ms. A screen reader's press
// of a button comes without an event; whoever acts on the button asks dropsPress().
//
// Main thread; lives as long as its window.
class InputGuard : public QObject {
    Q_OBJECT

public:
    enum class Inputs { Keyboard, KeyboardAndMouse };

    explicit InputGuard(QWidget* window);

    // To be called before the window is shown, or when it shows something new. Never shortens what
    // is running.
    void begin(Inputs inputs);

    // The person has asked for the window.
    void end();

    // For a window that the person goes on in: a key that is held down from before is not heard
    // until it is let go.
    void ignoreHeldKey();

    // Whether it drops anything yet.
    [[nodiscard]] bool isOn() const { return m_keyboard.isOn || m_mouse.isOn; }

    // Whether a button's press is to be dropped. The event filter has dropped those of the keyboard
    // and the mouse already, so the press is a screen reader's. Counts as a dropped input.
    [[nodiscard]] bool dropsPress();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // One kind of input.
    struct Quiet {
        QTimer time;
        bool isOn = false; // also while the window's exposure is waited for

        void begin(bool isExposed);
        void dropped(); // begins the time anew
        void end();
    };

    [[nodiscard]] bool isExposed() const;
    [[nodiscard]] bool isToBeDropped(QEvent* event);
    [[nodiscard]] bool dropsKey(bool isRepeat);
    void exposed();
    void stopIfOver();

    QWidget* const m_window;
    Quiet m_keyboard;
    Quiet m_mouse;
    bool m_ignoresHeldKey = false;
};
