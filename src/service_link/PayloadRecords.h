#pragma once

#include "records/SessionInfo.h"

#include <QList>
#include <QString>

#include <optional>

// The JSON objects that ride behind the service's commands, as plain values.
//
// All fields but `sessionDate` are required; a missing key or a value of another type makes the
// whole record none, without a word. Unknown keys are ignored. Integers are 64 bits wide and exact:
// 3 and 3.0 are integers, 3.5 is none. Any thread.

// A message that is pushed to the person.
struct Message {
    QString from;
    QString text;
    qint64 timeout = 0; // seconds until the window closes by itself; below one, it stays
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

// Somebody who came into a chat or went.
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

// Something to run.
struct ApplicationInfo {
    qint64 session = 0; // goes back with the result
    QString exec;
};

[[nodiscard]] std::optional<Message> decode_message(const QString& jsonData);
[[nodiscard]] std::optional<StatusInfo> decode_status(const QString& jsonData);
[[nodiscard]] std::optional<ChatMember> decode_chat_member(const QString& jsonData);
[[nodiscard]] std::optional<ApplicationInfo> decode_application_info(const QString& jsonData);
[[nodiscard]] std::optional<ChatMessage> decode_chat_message(const QString& jsonData);
[[nodiscard]] std::optional<ConnectionInformation>
decode_connection_information(const QString& jsonData);
