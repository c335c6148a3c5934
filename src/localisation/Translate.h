#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

// The languages that the program speaks. The order is the enumeration's own; the label document
// lists its records in another one.
enum class Language { English, French, Italian, Spanish, German, Korean, Portuguese };

// A section of one language's labels: VANTORY_LABEL_SECTION(Main, agent, control) is a structure
// Main of two texts, which knows what it and its fields are called, and a field Main of that type.
// Sections and fields bear the names of the document's keys. Only "export" is a word that the
// language keeps for itself, so its field has an underscore behind it.
#define VANTORY_LABEL_SECTION(section, ...)                                                        \
    struct section {                                                                               \
        static constexpr auto kName = u"" #section;                                                \
        static constexpr auto kKeys = u"" #__VA_ARGS__;                                            \
        QString __VA_ARGS__;                                                                       \
        [[nodiscard]] QList<QString*> fields() { return pointersTo(__VA_ARGS__); }                 \
    } section

// The language label document: every text that the user sees, in seven languages side by side.
// Oddities of sections and keys stay ("error" in lower case, "_import" with its underscore): they
// are the installation's, which supplies the document.
struct JsonData {
    // One language.
    struct Info {
        VANTORY_LABEL_SECTION(Common, quit, select, cancel, apply, start, restart, refresh,
                              terminate, ok, reset, reject, accept, _import, export_, send, update);
        VANTORY_LABEL_SECTION(MainMenu, permissions, connection, settings, status);
        VANTORY_LABEL_SECTION(Main, agent, control);
        VANTORY_LABEL_SECTION(UserAck, user_ack_title, user_ack_desc, replaced, withdrawn);
        VANTORY_LABEL_SECTION(Connection, agent, ready, account_invalid, no_gateway,
                              conn_status_title, device, abort_connection_label, endAll, inSession,
                              notEnded, session, noIcon, noIconHow);
        VANTORY_LABEL_SECTION(About, about, agent, version, build);
        // In "more", "%1" stands for a number.
        VANTORY_LABEL_SECTION(Message, received, from, automatic, seconds, information, question,
                              caution, stop, more, one);
        VANTORY_LABEL_SECTION(Chat, chat, joined, left, transcript, field);
        VANTORY_LABEL_SECTION(Settings, managed, sessionCode, accountId, platform, unlock, lock,
                              locked, fixed);
        VANTORY_LABEL_SECTION(Security, username, password, wrong, checking);
        VANTORY_LABEL_SECTION(Activity, title, away, began, ended, notEnded, accepted,
                              acceptedByYou, declined, waits, message, command, running, status,
                              time, event, details, since, earlier);
        VANTORY_LABEL_SECTION(error, regionTitle, regionMsg1, regionMsg2, accountIdTitle,
                              accountIdMsg, sessionCodeTitle, sessionCodeMsg);

    private:
        static QList<QString*> pointersTo(auto&... fields) { return {&fields...}; }
    };

    Info En, Fr, Es, It, Ge, Ko, Pt;

    // The record of a language, by name and never by position.
    [[nodiscard]] const Info& info(Language language) const;
};

#undef VANTORY_LABEL_SECTION

// As in the user's preference: "en". Any thread.
[[nodiscard]] QString languageCode(Language language);

// What the language's record is called in the documents: "En". Any thread.
[[nodiscard]] QString languageKey(Language language);

// The whole document as it is now. None where it cannot be read or decoded as a whole, which is
// logged. Any thread.
[[nodiscard]] std::unique_ptr<const JsonData> getLanguageLabel();

// One language's labels. The document is decoded again whenever the file has changed, so an edit
// takes effect at the next call; none as for getLanguageLabel(). A bundle without the document is a
// broken installation and ends the program.
//
// A package that is upgraded or removed while the program runs takes nothing from it: once the
// program's file is replaced, or the document gone, the labels that were last decoded hold on. Main
// thread.
[[nodiscard]] std::optional<JsonData::Info> labelsOf(Language language);

// Whether the document is there and can be decoded. Logs nothing and ends nothing. Any thread.
[[nodiscard]] bool isLanguageDocumentWhole();

// The English texts of the keys that a document may lack, and of the status and settings windows;
// all others are empty. For what is shown also where no document can be loaded.
[[nodiscard]] JsonData::Info englishFallback();

// Where a window gets the labels of the chosen language from, each time that it needs them; none as
// for labelsOf().
using LabelSource = std::function<std::optional<JsonData::Info>()>;

// The language of the first preference alone, by its first two letters as they stand; English where
// the program does not speak it. An empty list ends the program.
[[nodiscard]] Language languageFor(const QStringList& preferredLanguages);
