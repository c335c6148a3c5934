#pragma once

#include "records/SessionInfo.h"

#include <QList>
#include <QString>
#include <QStringView>

#include <optional>

// The JSON objects that are the payloads of the service's commands, as plain values.
//
// All fields but `sessionDate` are required: where a key is missing or a value is of another type,
// the result is none, and nothing is logged. Unknown keys are ignored. Integers have 64 bits and
// are exact: 3 and 3.0 are integers, 3.5 is not. Any thread.

// A message that is pushed to the user.
struct Message {
    QString from;
    QString text;
    qint64 timeout = 0; // seconds until the window closes by itself; less than one: it stays open
    qint64 icon = 0;    // the kind
};

// A session that has just begun.
struct ConnectionInformation {
    qint64 session = 0;
    QString deviceName;
    QString controlName;
};

struct StatusInfo {
    bool accountIsValid = false;
    QString gateway; // empty where there is none
    QString sessionId;
    QList<SessionInfo> sessions;
};

// Somebody who has joined or left a chat.
struct ChatMember {
    qint64 context = 0; // the chat's token
    QString member;
};

// A line of a chat.
struct ChatMessage {
    qint64 context = 0; // the chat's token
    QString from;
    QString text;
};

// A command line to run.
struct ApplicationInfo {
    qint64 session = 0; // is sent back with the result
    QString exec;
};

[[nodiscard]] std::optional<Message> decode_message(QStringView jsonData);
[[nodiscard]] std::optional<StatusInfo> decode_status(QStringView jsonData);
[[nodiscard]] std::optional<ChatMember> decode_chat_member(QStringView jsonData);
[[nodiscard]] std::optional<ApplicationInfo> decode_application_info(QStringView jsonData);
[[nodiscard]] std::optional<ChatMessage> decode_chat_message(QStringView jsonData);
[[nodiscard]] std::optional<ConnectionInformation>
decode_connection_information(QStringView jsonData);
