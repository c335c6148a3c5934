#include "platform/desktop/ToolkitTranslation.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QTranslator>

using namespace Qt::StringLiterals;

void ToolkitTranslation::install(QStringView language)
{
    // Never destroyed: the application refers to it to its end.
    static auto* const translator = new QTranslator;
    QCoreApplication::removeTranslator(translator);
    if (language == u"en") {
        return; // the texts in the program are English
    }
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    const QString name = u"qtbase_"_s + language.toString();
    // Qt may have a language for one country only ("pt_BR").
    const QStringList files =
        QDir(folder).entryList({name + u".qm"_s, name + u"_*.qm"_s}, QDir::Files, QDir::Name);
    if (!files.isEmpty() && translator->load(files.constFirst(), folder)) {
        QCoreApplication::installTranslator(translator);
    }
}
