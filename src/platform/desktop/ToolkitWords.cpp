#include "platform/desktop/ToolkitWords.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QTranslator>

using namespace Qt::StringLiterals;

void ToolkitWords::speak(QStringView language)
{
    // Never destroyed: the application refers to it to its end.
    static auto* const words = new QTranslator;
    QCoreApplication::removeTranslator(words);
    if (language == u"en") {
        return; // its words are in the program
    }
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    const QString name = u"qtbase_"_s + language.toString();
    // A language may be there as one country's only ("pt_BR").
    const QStringList files =
        QDir(folder).entryList({name + u".qm"_s, name + u"_*.qm"_s}, QDir::Files, QDir::Name);
    if (!files.isEmpty() && words->load(files.constFirst(), folder)) {
        QCoreApplication::installTranslator(words);
    }
}
