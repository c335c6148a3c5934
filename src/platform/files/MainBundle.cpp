#include "platform/files/MainBundle.h"

#include "platform/files/PropertyList.h"

#include <QFile>
#include <QFileInfo>
#include <QVariant>

#include <filesystem>
#include <system_error>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// The link's text, since it can't be followed while the package is replaced. It then reads
// "/.../vantoryAgent (deleted)". Empty without /proc.
QString programFile()
{
    std::error_code error;
    return QFile::decodeName(std::filesystem::read_symlink("/proc/self/exe", error).c_str());
}

} // namespace

QString MainBundle::path()
{
    const QString program = programFile();
    return program.left(program.lastIndexOf(u'/')); // empty: every resource counts as missing
}

bool MainBundle::isReplaced()
{
    return programFile().endsWith(" (deleted)"_L1);
}

std::optional<QString> MainBundle::resourcePath(const QString& name, const QString& type)
{
    const QString file = path() + u"/Resources/"_s + name + u'.' + type;
    return QFileInfo(file).isFile() ? std::optional(file) : std::nullopt;
}

std::optional<QString> MainBundle::infoText(const QString& key)
{
    static std::optional<QVariantMap> last;
    if (!last || !isReplaced()) {
        if (auto info = readPropertyList(path() + u"/Info.plist"_s)) {
            last = std::move(info);
        }
    }
    const QVariant value = last ? last->value(key) : QVariant();
    return value.typeId() == QMetaType::QString ? std::optional(value.toString()) : std::nullopt;
}
