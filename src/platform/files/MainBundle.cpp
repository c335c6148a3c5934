#include "platform/files/MainBundle.h"

#include "platform/files/PropertyList.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>

#include <unistd.h>

using namespace Qt::StringLiterals;

QString MainBundle::path()
{
    // The link's text, since it can't be followed while the package is replaced. It then reads
    // "/.../vantoryAgent (deleted)", and the folder is still the right one.
    QByteArray program(1024, Qt::Uninitialized);
    for (;;) {
        const ssize_t length =
            ::readlink("/proc/self/exe", program.data(), static_cast<std::size_t>(program.size()));
        if (length < 0) {
            return {}; // no /proc; every resource counts as missing
        }
        if (length < program.size()) {
            program.truncate(length);
            break;
        }
        program.resize(program.size() * 2);
    }
    program.truncate(program.lastIndexOf('/'));
    return QFile::decodeName(program);
}

std::optional<QString> MainBundle::resourcePath(const QString& name, const QString& type)
{
    const QString file = path() + u"/Resources/"_s + name + u'.' + type;
    return QFileInfo(file).isFile() ? std::optional(file) : std::nullopt;
}

QVariant MainBundle::infoValue(const QString& key)
{
    const auto info = PropertyList::readDictionary(path() + u"/Info.plist"_s);
    return info ? info->value(key) : QVariant();
}
