#pragma once

#include "AgentFixture.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

// The settings window and the credential window of the agent under test, as a user uses them.
namespace SettingsDriver {

inline QWidget* window()
{
    return AgentFixture::topLevel("window");
}

inline QWidget* question()
{
    return AgentFixture::topLevel("windowInfo");
}

template <typename Widget>
Widget* find(QWidget* in, const char* name)
{
    return in->findChild<Widget*>(QLatin1StringView(name));
}

inline QLineEdit* code()
{
    return find<QLineEdit>(window(), "sessionCodeText");
}

inline void click(QWidget* in, const char* name)
{
    QTest::mouseClick(find<QPushButton>(in, name), Qt::LeftButton);
}

// As from the menu; what opens is locked.
inline bool open(const AgentFixture& agent)
{
    agent.delegate->settings();
    return QTest::qWaitForWindowActive(window()) && !code()->isEnabled();
}

inline void typeCredentials(const QString& name, const QString& password)
{
    QTest::keyClicks(find<QLineEdit>(question(), "username"), name);
    find<QLineEdit>(question(), "password")->setText(password);
}

} // namespace SettingsDriver
