#pragma once

#include "platform/desktop/StatusContent.h"

#include <QAbstractNativeEventFilter>
#include <QByteArray>
#include <QtGlobal>

#include <memory>

// The program's icon in an XEmbed tray: freedesktop.org's System Tray Protocol.
//
// QSystemTrayIcon is not used: it decides by itself between this protocol and the session bus, for
// good, and waits for the bus on the main thread. Up to Qt 6.6 it asks for a StatusNotifier host,
// since then only for a watcher, so that where there is a watcher without a host it shows nothing.
//
// The tray may start after the program, end, and start again. Where there is no X server, nothing
// is shown. The menu opens at the icon, by the pointer's left or right button. Internal to the
// platform.
class TrayIcon : private QAbstractNativeEventFilter {
public:
    explicit TrayIcon(const StatusContent& content);
    ~TrayIcon() override;

    void contentChanged();
    // Whether the tray has taken the icon in.
    [[nodiscard]] bool isShown() const;

private:
    class Window;

    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;
    void dock();

    const StatusContent& m_content;
    quint32 m_selection = 0;          // the atom: whoever owns it is the tray
    quint32 m_manager = 0;            // the atom: the message of a tray that has started
    quint32 m_tray = 0;               // its window; zero while there is none
    std::unique_ptr<Window> m_window; // only while there is a tray
};
