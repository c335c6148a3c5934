#include "localisation/Translate.h"

#include "logging/Logs.h"
#include "platform/files/Json.h"
#include "platform/files/MainBundle.h"
#include "platform/files/RegularFile.h"

#include <QDateTime>
#include <QFileInfo>
#include <QJsonObject>
#include <QStringDecoder>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

using Info = JsonData::Info;

struct Label {
    const char16_t* section;
    const char16_t* key;
    QString& (*field)(Info&);
    const char16_t* english; // what stands for it in a document that lacks it; null: none may
};

#define LABEL_AS(section, key, field, english)                                                     \
    Label                                                                                          \
    {                                                                                              \
        u## #section, u## #key, [](Info& info) -> QString& { return info.section.field; }, english \
    }
#define LABEL(section, key) LABEL_AS(section, key, key, nullptr)
#define EXTRA(section, key, english) LABEL_AS(section, key, key, english)

// In the document's order; those that a document may lack come behind.
const Label kLabels[] = {
    LABEL(Common, quit),
    LABEL(Common, select),
    LABEL(Common, cancel),
    LABEL(Common, apply),
    LABEL(Common, start),
    LABEL(Common, restart),
    LABEL(Common, refresh),
    LABEL(Common, terminate),
    LABEL(Common, ok),
    LABEL(Common, reset),
    LABEL(Common, reject),
    LABEL(Common, accept),
    LABEL(Common, _import),
    LABEL_AS(Common, export, export_, nullptr),
    LABEL(Common, send),
    LABEL(Common, update),
    LABEL(MainMenu, permissions),
    LABEL(MainMenu, connection),
    LABEL(MainMenu, settings),
    LABEL(MainMenu, status),
    LABEL(Main, agent),
    LABEL(Main, control),
    LABEL(UserAck, user_ack_title),
    LABEL(UserAck, user_ack_desc),
    LABEL(Connection, agent),
    LABEL(Connection, ready),
    LABEL(Connection, account_invalid),
    LABEL(Connection, no_gateway),
    LABEL(Connection, conn_status_title),
    LABEL(Connection, device),
    LABEL(Connection, abort_connection_label),
    LABEL(About, about),
    LABEL(About, agent),
    LABEL(About, version),
    LABEL(About, build),
    LABEL(Message, received),
    LABEL(Message, from),
    LABEL(Message, automatic),
    LABEL(Message, seconds),
    LABEL(Chat, chat),
    LABEL(Chat, joined),
    LABEL(Chat, left),
    LABEL(Settings, managed),
    LABEL(Settings, sessionCode),
    LABEL(Settings, accountId),
    LABEL(Settings, platform),
    LABEL(Security, username),
    LABEL(Security, password),
    LABEL(error, regionTitle),
    LABEL(error, regionMsg1),
    LABEL(error, regionMsg2),
    LABEL(error, accountIdTitle),
    LABEL(error, accountIdMsg),
    LABEL(error, sessionCodeTitle),
    LABEL(error, sessionCodeMsg),
    EXTRA(UserAck, replaced, u"This request takes the place of the one before."),
    EXTRA(UserAck, withdrawn, u"The request was withdrawn"),
    EXTRA(Connection, endAll, u"End all sessions"),
    EXTRA(Connection, inSession, u"In session"),
    EXTRA(Connection, notEnded, u"Not ended"),
    EXTRA(Connection, session, u"Session %1"),
    EXTRA(Connection, noIcon, u"No panel shows the agent’s icon"),
    EXTRA(
        Connection, noIconHow,
        u"The icon says who is in session. To see it, add a system tray to the panel, or in GNOME "
        u"switch on the extension AppIndicator. “vantory Agent”, started again, opens its window "
        u"at any time."),
    EXTRA(Message, information, u"Information"),
    EXTRA(Message, question, u"Question"),
    EXTRA(Message, caution, u"Caution"),
    EXTRA(Message, stop, u"Important warning"),
    EXTRA(Message, more, u"%1 earlier messages were closed"),
    EXTRA(Message, one, u"An earlier message was closed"),
    EXTRA(Chat, transcript, u"Conversation"),
    EXTRA(Chat, field, u"Message"),
    EXTRA(Settings, unlock, u"Unlock"),
    EXTRA(Settings, lock, u"Lock"),
    EXTRA(Settings, locked, u"Locked: only an administrator can change these settings."),
    EXTRA(Settings, fixed, u"These settings can’t be changed on this computer."),
    EXTRA(Security, wrong, u"The name or the password is wrong."),
    EXTRA(Security, checking, u"Checking…"),
    EXTRA(Activity, title, u"What happened"),
    EXTRA(Activity, away, u"While you were away"),
    EXTRA(Activity, began, u"Session began"),
    EXTRA(Activity, ended, u"Session ended"),
    EXTRA(Activity, notEnded, u"Session has not ended"),
    EXTRA(Activity, accepted, u"Request accepted on your behalf"),
    EXTRA(Activity, acceptedByYou, u"You accepted a request"),
    EXTRA(Activity, declined, u"You declined a request"),
    EXTRA(Activity, waits, u"A request waits for your answer"),
    EXTRA(Activity, message, u"Message"),
    EXTRA(Activity, command, u"Command"),
    EXTRA(Activity, running, u"Running"),
    EXTRA(Activity, status, u"Status"),
    EXTRA(Activity, time, u"Time"),
    EXTRA(Activity, event, u"Event"),
    EXTRA(Activity, details, u"Details"),
    EXTRA(Activity, since, u"Listed since"),
    EXTRA(Activity, earlier, u"Earlier entries that are not shown"),
};

#undef EXTRA
#undef LABEL
#undef LABEL_AS

using InfoField = Info JsonData::*;

struct Record {
    const char16_t* key;    // in the documents
    const char16_t* prefix; // of the user's preference
    Language language;
    InfoField info;
};

// The first stands for a language that has none.
const Record kRecords[] = {
    {u"En", u"en", Language::English, &JsonData::En},
    {u"Fr", u"fr", Language::French, &JsonData::Fr},
    {u"Es", u"es", Language::Spanish, &JsonData::Es},
    {u"It", u"it", Language::Italian, &JsonData::It},
    {u"Ge", u"de", Language::German, &JsonData::Ge},
    {u"Ko", u"ko", Language::Korean, &JsonData::Ko},
    {u"Pt", u"pt", Language::Portuguese, &JsonData::Pt},
};

const Record& recordOf(Language language)
{
    const auto* const found =
        std::find_if(std::begin(kRecords), std::end(kRecords),
                     [&](const Record& record) { return record.language == language; });
    return found == std::end(kRecords) ? kRecords[0] : *found;
}

// File systems store a change's time in steps of up to this: whether a file that has just changed
// changes once more, its time can't tell.
constexpr std::chrono::milliseconds kLongestStep(2'000);

// A document, or what is wrong with it.
struct Decoded {
    std::unique_ptr<const JsonData> document;
    QString error;
};

Decoded decode(const QByteArray& bytes)
{
    const auto [root, error] = readJson(bytes);
    if (!root) {
        return {nullptr, error};
    }
    auto document = std::make_unique<JsonData>();
    for (const Record& record : kRecords) {
        const QString language = QString::fromUtf16(record.key);
        const QJsonObject info = root->value(language).toObject();
        for (const auto& [section, key, field, english] : kLabels) {
            const QJsonValue text =
                info.value(QStringView(section)).toObject().value(QStringView(key));
            if (!text.isString() && english == nullptr) {
                return {nullptr, u"no text at %1.%2.%3"_s.arg(language, QString::fromUtf16(section),
                                                              QString::fromUtf16(key))};
            }
            field((*document).*record.info) = text.toString(QString::fromUtf16(english));
        }
    }
    return {std::move(document), QString()};
}

std::optional<QString> documentPath()
{
    return MainBundle::resourcePath(u"translate"_s, u"json"_s);
}

QString missing()
{
    return u"%1/Resources/translate.json is missing"_s.arg(MainBundle::path());
}

// The document is expected in UTF-8; a byte order mark of another Unicode encoding is heeded.
Decoded readDocument()
{
    constexpr qsizetype kLargest = 16 * 1024 * 1024;
    const auto path = documentPath();
    if (!path) {
        return {nullptr, missing()};
    }
    const auto [state, bytes, error] = RegularFile::read(*path, kLargest);
    if (state != RegularFile::State::Read) {
        return {nullptr, error};
    }
    const auto encoding = QStringConverter::encodingForData(bytes);
    QStringDecoder decoder(encoding.value_or(QStringConverter::Utf8));
    const QString text = decoder.decode(bytes);
    if (decoder.hasError()) {
        return {nullptr, u"the document is not Unicode text"_s};
    }
    return decode(text.toUtf8());
}

} // namespace

const JsonData::Info& JsonData::info(Language language) const
{
    return this->*recordOf(language).info;
}

QString languageCode(Language language)
{
    return QString::fromUtf16(recordOf(language).prefix);
}

QString languageKey(Language language)
{
    return QString::fromUtf16(recordOf(language).key);
}

std::unique_ptr<const JsonData> getLanguageLabel()
{
    auto [document, error] = readDocument();
    if (!document) {
        printErrorLog(u"error to get language: "_s + error);
    }
    return std::move(document);
}

std::optional<JsonData::Info> labelsOf(Language language)
{
    static std::optional<Info> last;
    static Language lastLanguage = language;
    static QDateTime lastChange; // of the file's content or status; invalid: read it again
    const bool isReplaced = MainBundle::isReplaced();
    if (isReplaced && last) {
        return last; // the document in the folder goes with another version of the program
    }
    const auto path = documentPath();
    if (!path && !isReplaced && !last) {
        fatalState(missing());
    }
    const QDateTime change = QFileInfo(path.value_or(QString())).metadataChangeTime();
    if (lastChange.isValid() && change == lastChange && language == lastLanguage) {
        return last;
    }
    const auto document = getLanguageLabel();
    if (!document) {
        return path ? std::nullopt : last;
    }
    // Also read again where the clock was set back.
    const bool isOld = change.msecsTo(QDateTime::currentDateTime()) > kLongestStep.count();
    lastChange = isOld ? change : QDateTime();
    lastLanguage = language;
    last = document->info(language);
    return last;
}

bool isLanguageDocumentWhole()
{
    return readDocument().document != nullptr;
}

JsonData::Info englishFallback()
{
    JsonData::Info labels;
    for (const Label& label : kLabels) {
        label.field(labels) = QString::fromUtf16(label.english);
    }
    labels.Common.cancel = u"Cancel"_s;
    labels.Common.ok = u"OK"_s;
    labels.MainMenu.settings = u"Settings"_s;
    labels.Main.control = u"Control"_s;
    labels.Settings.managed = u"Centrally managed agent"_s;
    labels.Settings.sessionCode = u"Session code"_s;
    labels.Settings.accountId = u"Account identifier"_s;
    labels.Settings.platform = u"Region"_s;
    labels.Connection.ready = u"Agent ready"_s;
    labels.Connection.no_gateway = u"No gateway available"_s;
    labels.Connection.account_invalid = u"Account is blocked or no longer exists"_s;
    labels.Common.start = u"Start"_s;
    labels.Common.apply = u"Apply"_s;
    labels.error.accountIdTitle = u"Account Identifier is incorrect"_s;
    labels.error.accountIdMsg = u"Account Identifier must be an UUID."_s;
    labels.error.sessionCodeTitle = u"Session code is incorrect"_s;
    labels.error.sessionCodeMsg = u"Session code must be a number of 6 digits."_s;
    labels.error.regionTitle = u"Region is incorrect."_s;
    labels.error.regionMsg1 = u"Unable to connect to"_s;
    return labels;
}

Language languageFor(const QStringList& preferredLanguages)
{
    if (preferredLanguages.isEmpty()) {
        fatalState(u"the system names no preferred language"_s);
    }
    const QString prefix = preferredLanguages.constFirst().left(2);
    for (const Record& record : kRecords) {
        if (prefix == QStringView(record.prefix)) {
            return record.language;
        }
    }
    return Language::English;
}
