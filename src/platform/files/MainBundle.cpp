#include "platform/files/MainBundle.h"

#include "platform/files/PropertyList.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <mutex>
#include <utility>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// The link's text, since it can't be followed while the package is replaced. It then reads
// "/.../vantoryAgent (deleted)". Empty without /proc.
QByteArray programFile()
{
    QByteArray program(1024, Qt::Uninitialized);
    for (;;) {
        const ssize_t length =
            ::readlink("/proc/self/exe", program.data(), static_cast<std::size_t>(program.size()));
        if (length < program.size()) {
            program.truncate(std::max<ssize_t>(length, 0));
            return program;
        }
        program.resize(program.size() * 2);
    }
}

} // namespace

QString MainBundle::path()
{
    QByteArray program = programFile();
    program.truncate(program.lastIndexOf('/')); // empty: every resource counts as missing
    return QFile::decodeName(program);
}

bool MainBundle::isReplaced()
{
    return programFile().endsWith(" (deleted)");
}

std::optional<QString> MainBundle::resourcePath(const QString& name, const QString& type)
{
    const QString file = path() + u"/Resources/"_s + name + u'.' + type;
    return QFileInfo(file).isFile() ? std::optional(file) : std::nullopt;
}

QVariant MainBundle::infoValue(const QString& key)
{
    static std::mutex mutex;
    static std::optional<QVariantMap> last; // guarded
    const std::lock_guard lock(mutex);
    if (!last || !isReplaced()) {
        if (auto info = PropertyList::readDictionary(path() + u"/Info.plist"_s)) {
            last = std::move(info);
        }
    }
    return last ? last->value(key) : QVariant();
}
