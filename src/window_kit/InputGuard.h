#pragma once

#include <QDeadlineTimer>
#include <QHash>
#include <QObject>
#include <QSet>

#include <chrono>
#include <functional>

class QAbstractButton;
class QWidget;

// Whether a key, a click or a press in a window was meant for it. Each window has its own guard. It
// drops
//
// - keys and input methods' text in a window that has come up by itself, until the user clicks in
//   it or the keyboard was quiet for a second;
// - where that is asked for, clicks in it as well, for 600 ms;
// - presses of the buttons in a part of the window that has just come to mean something else (a row
//   into which another session has moved), for 600 ms;
// - the end of a press that began before such a change, and the repeats of a key that was held down
//   before.
//
// The times count from the moment at which the window is on the screen; each input that is dropped
// restarts its time. Keys and clicks are dropped as events. A screen reader's press comes without
// an event and clicks a moment later: so a button's action is connected by connectButton(), which
// looks at the press when it begins and when it ends. Main thread; lives as long as its window.
class InputGuard : public QObject {
    Q_OBJECT

public:
    enum class Inputs { Keyboard, KeyboardAndMouse };

    explicit InputGuard(QWidget* window);

    // The window is about to come up by itself, or shows something new. Never shortens a time that
    // runs. With the mouse, presses that have begun count for nothing.
    void begin(Inputs inputs);

    // The user has asked for the window.
    void end();

    // The user goes on in this window: a key that is held down is not heard until it is let go.
    void ignoreHeldKey();

    // The buttons in that part of the window mean something else from now on.
    void changed(QWidget& part);

    // Runs the action at each click of the button whose press was meant.
    void connectButton(QAbstractButton* button, std::function<void()> action);

    // Whether it drops keys or clicks yet.
    [[nodiscard]] bool isOn() const { return m_keyboard.isOn() || m_mouse.isOn(); }

    // Whether the window manager's wish to close the window was not meant: a click in its title bar
    // is one with the mouse, anything else a key that may have been pressed for another window.
    [[nodiscard]] bool dropsClosing() const;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // A time in which an input is dropped.
    struct DeafTime {
        std::chrono::milliseconds length;
        QDeadlineTimer end; // none while the window's exposure is waited for

        [[nodiscard]] bool isOn() const { return !end.hasExpired(); }
        void begin(bool isExposed);
        [[nodiscard]] bool drops();
    };

    [[nodiscard]] bool isExposed() const;
    [[nodiscard]] bool isToBeDropped(QEvent* event);
    [[nodiscard]] bool dropsKey(bool isRepeat);
    [[nodiscard]] bool dropsPress(const QAbstractButton* button);
    void forgetPresses(const QWidget& part);

    QWidget* const m_window;
    DeafTime m_keyboard;
    DeafTime m_mouse;
    QHash<QWidget*, DeafTime> m_parts;
    QSet<QAbstractButton*> m_meant; // whose press has begun and was meant
    bool m_ignoresHeldKey = false;
};
