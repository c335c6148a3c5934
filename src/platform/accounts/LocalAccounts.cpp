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
#include <optional>
#include <vector>

#include <dlfcn.h>
#include <grp.h>
#include <pwd.h>
#include <security/pam_appl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::minutes kLongestAnswer(1);

struct AccountRecord {
    QByteArray name; // as the database has it
    gid_t group = 0;
};

std::optional<AccountRecord> account(const QByteArray& name)
{
    const auto entry = AccountDatabase::find<passwd>(
        [&](auto... arguments) { return ::getpwnam_r(name.constData(), arguments...); });
    return entry ? std::optional(AccountRecord{entry->record.pw_name, entry->record.pw_gid})
                 : std::nullopt;
}

std::optional<gid_t> groupId(const char* name)
{
    const auto entry = AccountDatabase::find<group>(
        [&](auto... arguments) { return ::getgrnam_r(name, arguments...); });
    return entry ? std::optional(entry->record.gr_gid) : std::nullopt;
}

std::optional<AccountRecord> knownAccount(const QString& name)
{
    const bool isUsable = !name.isEmpty() && !name.startsWith(u'-') &&
                          std::none_of(name.cbegin(), name.cend(), [](QChar c) {
                              return c.category() == QChar::Other_Control;
                          });
    return isUsable ? account(name.toUtf8()) : std::nullopt;
}

// PAM, loaded when it is first needed: most agents never ask for a password, and linked it would
// cost every one of them 36 KiB of memory at its start.
class Pam {
public:
    Pam() : m_library(::dlopen("libpam.so.0", RTLD_NOW | RTLD_LOCAL)) // stays loaded
    {
        if (m_library != nullptr) {
            find(start, "pam_start");
            find(authenticate, "pam_authenticate");
            find(accountManagement, "pam_acct_mgmt");
            find(end, "pam_end");
        }
    }

    [[nodiscard]] bool isThere() const
    {
        return start != nullptr && authenticate != nullptr && accountManagement != nullptr &&
               end != nullptr;
    }

    decltype(&::pam_start) start = nullptr;
    decltype(&::pam_authenticate) authenticate = nullptr;
    decltype(&::pam_acct_mgmt) accountManagement = nullptr;
    decltype(&::pam_end) end = nullptr;

private:
    template <typename Function>
    void find(Function& function, const char* name)
    {
        function = reinterpret_cast<Function>(::dlsym(m_library, name));
    }

    void* m_library;
};

// Answers PAM's questions: the answer to a hidden one is the password; any other is for a person,
// and nobody is asked here. PAM overwrites and frees the answers.
int converse(int count, const pam_message** messages, pam_response** responses, void* data)
{
    if (count <= 0 || count > PAM_MAX_NUM_MSG) {
        return PAM_CONV_ERR;
    }
    const auto& password = *static_cast<const QByteArray*>(data);
    auto* const answers = static_cast<pam_response*>(
        std::calloc(static_cast<std::size_t>(count), sizeof(pam_response)));
    if (answers == nullptr) {
        return PAM_BUF_ERR;
    }
    bool isAnswered = true;
    for (int i = 0; i < count; ++i) {
        if (messages[i]->msg_style == PAM_PROMPT_ECHO_OFF) {
            answers[i].resp = ::strdup(password.constData());
            isAnswered = isAnswered && answers[i].resp != nullptr;
        } else if (messages[i]->msg_style == PAM_PROMPT_ECHO_ON) {
            isAnswered = false;
        }
    }
    if (isAnswered) {
        *responses = answers;
        return PAM_SUCCESS;
    }
    for (int i = 0; i < count; ++i) {
        if (answers[i].resp != nullptr) {
            ::explicit_bzero(answers[i].resp, std::strlen(answers[i].resp));
            std::free(answers[i].resp);
        }
    }
    std::free(answers);
    return PAM_CONV_ERR;
}

bool doesPamAccept(const QByteArray& name, QByteArray& password)
{
    static const Pam pam;
    if (!pam.isThere()) {
        return false;
    }
    const pam_conv conversation = {&converse, &password};
    pam_handle_t* handle = nullptr;
    if (pam.start("vantoryagent", name.constData(), &conversation, &handle) != PAM_SUCCESS) {
        return false;
    }
    int answer = pam.authenticate(handle, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
    if (answer == PAM_SUCCESS) {
        answer = pam.accountManagement(handle, PAM_SILENT);
    }
    pam.end(handle, answer);
    return answer == PAM_SUCCESS;
}

// Without a terminal su reads the password from its input. Its exit status is the command's, so
// zero means that the password was right.
bool doesSuAccept(const QByteArray& name, const QByteArray& password)
{
    ChildProcess::Options options = {.input = password + '\n', .limit = kLongestAnswer};
    const auto result = ChildProcess::run(SystemPrograms::su(),
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
        const bool canPamAnswer = ::geteuid() == 0 || known->name == Account::loginName().toUtf8();
        isRight =
            canPamAnswer ? doesPamAccept(known->name, bytes) : doesSuAccept(known->name, bytes);
    }
    SecretText::wipe(bytes);
    return isRight;
}

std::optional<LocalAccounts::Group> LocalAccounts::administrators()
{
    for (const char* const candidate : {"admin", "sudo", "wheel"}) {
        if (const auto number = groupId(candidate)) {
            return Group{*number, QString::fromLatin1(candidate)};
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
    std::vector<gid_t> groups(64);
    auto count = static_cast<int>(groups.size());
    while (::getgrouplist(known->name.constData(), known->group, groups.data(), &count) < 0) {
        groups.resize(std::max(groups.size() * 2, static_cast<std::size_t>(count)));
        count = static_cast<int>(groups.size());
    }
    groups.resize(static_cast<std::size_t>(count));
    return std::find(groups.cbegin(), groups.cend(), wanted->number) != groups.cend();
}
