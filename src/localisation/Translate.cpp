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

// A section of the labels of one language.
struct Section {
    QStringView name;
    QList<QStringView> keys;
    QList<QString*> fields;
};

// In the document's order, and then ours.
QList<Section> sectionsOf(Info& labels)
{
    const auto section = [](auto& texts) {
        return Section{texts.kName, QStringView(texts.kKeys).split(u", "), texts.fields()};
    };
    return {section(labels.Common),   section(labels.MainMenu),   section(labels.Main),
            section(labels.UserAck),  section(labels.Connection), section(labels.About),
            section(labels.Message),  section(labels.Chat),       section(labels.Settings),
            section(labels.Security), section(labels.error),      section(labels.Activity)};
}

// What stands for the keys that a document may lack. It may not lack those that are empty here.
Info textsOfOurs()
{
    Info labels;
    labels.UserAck.replaced = u"This request takes the place of the one before."_s;
    labels.UserAck.withdrawn = u"The request was withdrawn"_s;
    labels.Connection.endAll = u"End all sessions"_s;
    labels.Connection.inSession = u"In session"_s;
    labels.Connection.notEnded = u"Not ended"_s;
    labels.Connection.session = u"Session %1"_s;
    labels.Connection.noIcon = u"No panel shows the agent’s icon"_s;
    labels.Connection.noIconHow =
        u"The icon says who is in session. To see it, add a system tray to the panel, or in GNOME "
        u"switch on the extension AppIndicator. “vantory Agent”, started again, opens its window "
        u"at any time."_s;
    labels.Message.information = u"Information"_s;
    labels.Message.question = u"Question"_s;
    labels.Message.caution = u"Caution"_s;
    labels.Message.stop = u"Important warning"_s;
    labels.Message.more = u"%1 earlier messages were closed"_s;
    labels.Message.one = u"An earlier message was closed"_s;
    labels.Chat.transcript = u"Conversation"_s;
    labels.Chat.field = u"Message"_s;
    labels.Settings.unlock = u"Unlock"_s;
    labels.Settings.lock = u"Lock"_s;
    labels.Settings.locked = u"Locked: only an administrator can change these settings."_s;
    labels.Settings.fixed = u"These settings can’t be changed on this computer."_s;
    labels.Security.wrong = u"The name or the password is wrong."_s;
    labels.Security.checking = u"Checking…"_s;
    labels.Activity.title = u"What happened"_s;
    labels.Activity.away = u"While you were away"_s;
    labels.Activity.began = u"Session began"_s;
    labels.Activity.ended = u"Session ended"_s;
    labels.Activity.notEnded = u"Session has not ended"_s;
    labels.Activity.accepted = u"Request accepted on your behalf"_s;
    labels.Activity.acceptedByYou = u"You accepted a request"_s;
    labels.Activity.declined = u"You declined a request"_s;
    labels.Activity.waits = u"A request waits for your answer"_s;
    labels.Activity.message = u"Message"_s;
    labels.Activity.command = u"Command"_s;
    labels.Activity.running = u"Running"_s;
    labels.Activity.status = u"Status"_s;
    labels.Activity.time = u"Time"_s;
    labels.Activity.event = u"Event"_s;
    labels.Activity.details = u"Details"_s;
    labels.Activity.since = u"Listed since"_s;
    labels.Activity.earlier = u"Earlier entries that are not shown"_s;
    return labels;
}

struct Record {
    const char16_t* key;    // in the documents
    const char16_t* prefix; // of the user's preference
    Language language;
    Info JsonData::*info;
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
    const auto* const found = std::ranges::find(kRecords, language, &Record::language);
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
        Info& labels = (*document).*record.info;
        labels = textsOfOurs();
        for (const auto& [name, keys, fields] : sectionsOf(labels)) {
            const QJsonObject section = info.value(name).toObject();
            for (qsizetype i = 0; i < fields.size(); ++i) {
                const QStringView key = keys[i] == u"export_" ? QStringView(u"export") : keys[i];
                const QJsonValue text = section.value(key);
                if (!text.isString() && fields[i]->isEmpty()) {
                    return {nullptr, u"no text at %1.%2.%3"_s.arg(language, name, key)};
                }
                *fields[i] = text.toString(*fields[i]);
            }
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
    JsonData::Info labels = textsOfOurs();
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
