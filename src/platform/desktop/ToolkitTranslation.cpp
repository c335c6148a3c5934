#include "platform/desktop/ToolkitTranslation.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

using namespace Qt::StringLiterals;

void ToolkitTranslation::install(QStringView language)
{
    // Never destroyed: the application refers to it to its end.
    static auto* const translator = new QTranslator;
    QCoreApplication::removeTranslator(translator);
    // A locale also finds what Qt has for its country only ("pt_BR").
    if (translator->load(QLocale(language), u"qtbase"_s, u"_"_s,
                         QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        QCoreApplication::installTranslator(translator);
    }
}
