#include "platform/accounts/LocalAccounts.h"

#include "platform/accounts/Account.h"
#include "platform/accounts/AccountDatabase.h"
#include "platform/processes/ChildProcess.h"
#include "platform/processes/SecretText.h"
#include "platform/processes/SystemPrograms.h"

#include <QByteArray>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <dlfcn.h>
#include <grp.h>
#include <limits.h>
#include <pwd.h>
#include <security/pam_appl.h>
#include <syslog.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::minutes kLongestAnswer(1);

std::optional<AccountDatabase::Entry<passwd>> knownAccount(const QString& name)
{
    if (name.startsWith(u'-') || std::any_of(name.cbegin(), name.cend(), [](QChar c) {
            return c.category() == QChar::Other_Control;
        })) {
        return std::nullopt;
    }
    return AccountDatabase::find(&::getpwnam_r, name.toUtf8().constData());
}

// PAM, loaded when it is first needed: most agents never ask for a password, and linked it would
// cost every one of them 36 KiB of memory at its start.
template <typename Function>
Function* pam(const char* name)
{
    static void* const library = ::dlopen("libpam.so.0", RTLD_NOW | RTLD_LOCAL); // stays loaded
    return library != nullptr ? reinterpret_cast<Function*>(::dlsym(library, name)) : nullptr;
}

// Answers PAM's questions: the answer to a hidden one is the password; any other is for a person,
// and nobody is asked here. PAM overwrites and frees the answers.
int converse(int count, const pam_message** messages, pam_response** responses, void* data)
{
    if (count <= 0 || count > PAM_MAX_NUM_MSG) {
        return PAM_CONV_ERR;
    }
    const bool isAnswerable = std::none_of(messages, messages + count, [](const pam_message* m) {
        return m->msg_style == PAM_PROMPT_ECHO_ON;
    });
    auto* const answers = isAnswerable ? static_cast<pam_response*>(std::calloc(
                                             static_cast<std::size_t>(count), sizeof(pam_response)))
                                       : nullptr;
    if (answers == nullptr) {
        return PAM_CONV_ERR;
    }
    for (int i = 0; i < count; ++i) {
        if (messages[i]->msg_style == PAM_PROMPT_ECHO_OFF) {
            answers[i].resp = ::strdup(static_cast<const QByteArray*>(data)->constData());
        }
    }
    *responses = answers;
    return PAM_SUCCESS;
}

bool doesPamAccept(const QByteArray& name, QByteArray& password)
{
    auto* const start = pam<decltype(::pam_start)>("pam_start");
    auto* const authenticate = pam<decltype(::pam_authenticate)>("pam_authenticate");
    auto* const manageAccount = pam<decltype(::pam_acct_mgmt)>("pam_acct_mgmt");
    auto* const end = pam<decltype(::pam_end)>("pam_end");
    const pam_conv conversation = {&converse, &password};
    pam_handle_t* handle = nullptr;
    if (start == nullptr || authenticate == nullptr || manageAccount == nullptr || end == nullptr ||
        start("vantoryagent", name.constData(), &conversation, &handle) != PAM_SUCCESS) {
        return false;
    }
    ::setlogmask(LOG_UPTO(LOG_INFO)); // PAM notes that this account may not become root
    int result = authenticate(handle, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
    if (result == PAM_SUCCESS) {
        result = manageAccount(handle, PAM_SILENT);
    }
    end(handle, result);
    return result == PAM_SUCCESS;
}

// Without a terminal su reads the password from its input. Its exit status is the command's, so
// zero means that the password was right.
bool doesSuAccept(const QByteArray& name, const QByteArray& password)
{
    ChildProcess::Options options = {.input = password + '\n', .limit = kLongestAnswer};
    const auto result = ChildProcess::run(SystemPrograms::kSu.toString(),
                                          {u"-s"_s, SystemPrograms::kSh.toString(), u"-c"_s, u":"_s,
                                           u"--"_s, QString::fromUtf8(name)},
                                          options);
    SecretText::wipe(options.input);
    return result.status == 0;
}

} // namespace

bool LocalAccounts::isPasswordRight(const QString& name, const QString& password)
{
    constexpr qsizetype kLongestPassword = PAM_MAX_RESP_SIZE - 1;
    const auto known = knownAccount(name);
    QByteArray bytes = password.toUtf8();
    bool isRight = false;
    if (known && !bytes.isEmpty() && bytes.size() <= kLongestPassword && !bytes.contains('\n') &&
        !bytes.contains('\0')) {
        const QByteArray login = known->record.pw_name; // as the database has it
        const bool canPamAnswer = ::geteuid() == 0 || login == Account::loginName().toUtf8();
        isRight = canPamAnswer ? doesPamAccept(login, bytes) : doesSuAccept(login, bytes);
    }
    SecretText::wipe(bytes);
    return isRight;
}

std::optional<LocalAccounts::Group> LocalAccounts::administrators()
{
    for (const char* const candidate : {"admin", "sudo", "wheel"}) {
        if (const auto entry = AccountDatabase::find(&::getgrnam_r, candidate)) {
            return Group{entry->record.gr_gid, QString::fromLatin1(candidate)};
        }
    }
    return std::nullopt;
}

bool LocalAccounts::isAdministrator(const QString& name)
{
    const auto known = knownAccount(name);
    const auto wanted = administrators();
    if (!known || !wanted) {
        return false;
    }
    std::vector<gid_t> groups(NGROUPS_MAX + 1); // and its own
    auto count = static_cast<int>(groups.size());
    ::getgrouplist(known->record.pw_name, known->record.pw_gid, groups.data(), &count);
    groups.resize(std::min(groups.size(), static_cast<std::size_t>(count)));
    return std::find(groups.cbegin(), groups.cend(), wanted->gid) != groups.cend();
}
