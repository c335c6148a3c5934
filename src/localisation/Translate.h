#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

// The languages that the program speaks. The order is the enumeration's own; the label document
// lists its records in another one.
enum class Language { English, French, Italian, Spanish, German, Korean, Portuguese };

// The language label document: every text that the user sees, in seven languages side by side.
// Sections and fields bear their keys' names, oddities included ("error" in lower case, "_import"
// with its underscore): the keys are the installation's, which supplies the document. Only "export"
// is a word that the language keeps for itself, so its field has an underscore behind it.
struct JsonData {
    // One language.
    struct Info {
        struct Common {
            QString quit, select, cancel, apply, start, restart, refresh, terminate, ok, reset,
                reject, accept, _import, export_, send, update;
        } Common;
        struct MainMenu {
            QString permissions, connection, settings, status;
        } MainMenu;
        struct Main {
            QString agent, control;
        } Main;
        struct UserAck {
            QString user_ack_title, user_ack_desc, replaced, withdrawn;
        } UserAck;
        struct Connection {
            QString agent, ready, account_invalid, no_gateway, conn_status_title, device,
                abort_connection_label, endAll, inSession, notEnded, session, noIcon, noIconHow;
        } Connection;
        struct About {
            QString about, agent, version, build;
        } About;
        struct Message {
            QString received, from, automatic, seconds, information, question, caution, stop,
                more, // "%1" stands for a number
                one;
        } Message;
        struct Chat {
            QString chat, joined, left, transcript, field;
        } Chat;
        struct Settings {
            QString managed, sessionCode, accountId, platform, unlock, lock, locked, fixed;
        } Settings;
        struct Security {
            QString username, password, wrong, checking;
        } Security;
        struct Activity {
            QString title, away, began, ended, notEnded, accepted, acceptedByYou, declined, waits,
                message, command, running, status, time, event, details, since, earlier;
        } Activity;
        struct error {
            QString regionTitle, regionMsg1, regionMsg2, accountIdTitle, accountIdMsg,
                sessionCodeTitle, sessionCodeMsg;
        } error;
    };

    Info En, Fr, Es, It, Ge, Ko, Pt;

    // The record of a language, by name and never by position.
    [[nodiscard]] const Info& info(Language language) const;
};

// As in the user's preference: "en". Any thread.
[[nodiscard]] QString languageCode(Language language);

// What the language's record is called in the documents: "En". Any thread.
[[nodiscard]] QString languageKey(Language language);

// The whole document. It is decoded again whenever the file has changed, so an edit takes effect at
// the next call. None where it cannot be read or decoded as a whole; each call then logs one error.
// A bundle without the document is a broken installation and ends the program.
//
// A package that is upgraded or removed while the program runs takes nothing from it: once the
// program's file is replaced, or the document gone, the document that was last decoded holds on.
// Main thread.
[[nodiscard]] std::shared_ptr<const JsonData> getLanguageLabel();

// Whether the document is there and can be decoded. Logs nothing and ends nothing. Any thread.
[[nodiscard]] bool isLanguageDocumentWhole();

// The English texts of the keys that a document may lack, and of the status and settings windows;
// all others are empty. For what is shown also where no document can be loaded.
[[nodiscard]] JsonData::Info englishFallback();

// Where a window gets the labels of the chosen language from, each time that it needs them; none as
// for getLanguageLabel().
using LabelSource = std::function<std::optional<JsonData::Info>()>;

// The language of the first preference alone, by its first two letters as they stand; English where
// the program does not speak it. An empty list ends the program.
[[nodiscard]] Language languageFor(const QStringList& preferredLanguages);
