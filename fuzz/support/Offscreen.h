#pragma once

#include <QApplication>

// A program that has no display; the application lives until the program ends.
inline QApplication& offscreenApplication()
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argumentCount = 1;
    static char name[] = "fuzz";
    static char* arguments[] = {name, nullptr};
    static QApplication application(argumentCount, arguments);
    return application;
}
