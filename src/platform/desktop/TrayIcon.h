#pragma once

#include <QAbstractNativeEventFilter>
#include <QByteArray>
#include <QIcon>
#include <QPointer>
#include <QString>
#include <QtGlobal>

#include <memory>

class QMenu;
struct xcb_connection_t;

// The program's icon in an XEmbed tray: freedesktop.org's System Tray Protocol.
//
// QSystemTrayIcon is not used: it decides by itself between this protocol and the session bus, for
// good, and waits for the bus on the main thread. Up to Qt 6.6 it asks for a StatusNotifier host,
// since then only for a watcher, so that where there is a watcher without a host it shows nothing.
//
// The tray may start after the program, end, and start again. Where there is no X server, nothing
// is shown. One at a time. Main thread. Internal to the platform.
class TrayIcon : private QAbstractNativeEventFilter {
public:
    explicit TrayIcon(const QString& title);
    ~TrayIcon() override;

    // There is an icon in the tray as long as this one is not null.
    void setIcon(const QIcon& icon);

    // Whether a tray has taken it in.
    [[nodiscard]] bool isShown() const;

    // Plain text.
    void setToolTip(const QString& text);

    // Not owned. Opens at the icon, by any of the pointer's main buttons.
    void setMenu(QMenu* menu);

private:
    class Window;

    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;
    void dock();
    bool watch(quint32 tray) const;
    bool hasAlphaChannel(quint32 tray) const;
    void requestDock() const;

    const QString m_title;
    QIcon m_icon;
    QString m_toolTip;
    QPointer<QMenu> m_menu;

    xcb_connection_t* const m_connection; // null where there is no X server
    quint32 m_selection = 0;              // the atom: whoever owns it is the tray
    quint32 m_manager = 0;                // the atom: the message of a tray that has started
    quint32 m_tray = 0;                   // its window; zero while there is none
    std::unique_ptr<Window> m_window;     // only while there is a tray
};
