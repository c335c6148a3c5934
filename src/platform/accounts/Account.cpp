#include "platform/accounts/Account.h"

#include <cerrno>
#include <vector>

#include <limits.h>
#include <pwd.h>
#include <unistd.h>

namespace {

struct Entry {
    QString loginName;
    QString comment;
};

std::optional<Entry> ownEntry()
{
    constexpr std::size_t kMaximumEntry = 1024 * 1024;
    std::vector<char> buffer(1024);
    for (;;) {
        passwd record = {};
        passwd* found = nullptr;
        const int error = ::getpwuid_r(::getuid(), &record, buffer.data(), buffer.size(), &found);
        if (error == EINTR) {
            continue;
        }
        if (error == ERANGE && buffer.size() < kMaximumEntry) {
            buffer.resize(buffer.size() * 2);
            continue;
        }
        if (error != 0 || found == nullptr) {
            return std::nullopt;
        }
        return Entry{QString::fromUtf8(record.pw_name), QString::fromUtf8(record.pw_gecos)};
    }
}

QString nameIn(const std::optional<Entry>& entry)
{
    return entry ? entry->loginName : QString::number(::getuid());
}

} // namespace

QString Account::loginName()
{
    return nameIn(ownEntry());
}

QString Account::fullName()
{
    const auto entry = ownEntry();
    const QString login = nameIn(entry);
    QString name = entry ? entry->comment.section(u',', 0, 0).trimmed() : QString();
    name.replace(u'&', login.left(1).toUpper() + login.mid(1));
    return name.isEmpty() ? login : name;
}

std::optional<QString> Account::hostName()
{
    char name[HOST_NAME_MAX + 1] = {};
    if (::gethostname(name, sizeof name) != 0) {
        return std::nullopt;
    }
    const QString text = QString::fromUtf8(name);
    // The kernel's own text for a name that was never set.
    return text.isEmpty() || text == u"(none)" ? std::nullopt : std::optional(text);
}
