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
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    const QString name = u"qtbase_"_s + language.toString();
    // A language may be there as one country's only ("pt_BR").
    const QStringList files =
        QDir(folder).entryList({name + u".qm"_s, name + u"_*.qm"_s}, QDir::Files, QDir::Name);
    QCoreApplication::removeTranslator(words);
    if (!files.isEmpty() && words->load(files.constFirst(), folder)) {
        QCoreApplication::installTranslator(words);
    }
}
