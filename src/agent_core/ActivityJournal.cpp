#include "agent_core/ActivityJournal.h"

#include "logging/Logs.h"
#include "platform/accounts/Account.h"
#include "records/Activity.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLongestCommand = 256;

struct Entry {
    const char* id;       // the catalog's, too
    const char16_t* text; // with the details
};

// In the order of Activity::Kind, then the end of a command.
constexpr Entry kEntries[] = {
    {"10ec20e8b56c42c6bac489fb94a2a63b", u"session began: %1"},
    {"a88f90ec8fd04c88901d621f7e6d0fcb", u"session ended: %1"},
    {"9b71c1055c484eaf8370a2aacf8b41be", u"session has not ended: %1"},
    {"c624873415e9406fab3b75c73fe1d8cc", u"request accepted: %1"},
    {"4ccf427a69a644849407746398354a46", u"request declined: %1"},
    {"9c2ee0eedab74030b151a2edacc03152", u"request waits: %1"},
    {},
    {"91ed2d134af14561894e7c44d2144b27", u"command began: %1"},
    {"fed0bdf8738c40f1880c0894bc429bdd", u"command ended: %1"},
};

} // namespace

void ActivityJournal::tell(const Activity& activity)
{
    if (activity.kind == Activity::Kind::Message) {
        return;
    }
    // Asked once: the account database may be a directory service, which can take long.
    static const QString account = Account::loginName();
    const bool isCommand = activity.kind == Activity::Kind::Command;
    const auto& [id, text] = kEntries[static_cast<int>(activity.kind) + (activity.status ? 1 : 0)];
    QString details = isCommand ? activity.text.left(kLongestCommand) : activity.name;
    JournalFields fields = {{"MESSAGE_ID", QString::fromLatin1(id)},
                            {"VANTORY_ACCOUNT", account},
                            {"VANTORY_SESSION", QString::number(activity.session)},
                            {isCommand ? "VANTORY_COMMAND" : "VANTORY_OPERATOR", details}};
    const QJsonObject json = activity.toJson();
    for (const auto& [name, key] :
         {std::pair{"VANTORY_BY", "by"_L1}, {"VANTORY_STATUS", "status"_L1}}) {
        if (json.contains(key)) {
            const QString value = json[key].toVariant().toString();
            fields.append({name, value});
            details += u" ("_s + value + u')';
        }
    }
    printJournal(QString::fromUtf16(text).arg(details), fields);
}
