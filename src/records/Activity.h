#pragma once

#include "localisation/Translate.h"

#include <QDateTime>
#include <QJsonObject>
#include <QString>

#include <optional>

// One thing that happened to this computer.
struct Activity {
    enum class Kind {
        SessionBegan,
        SessionEnded,
        SessionNotEnded,
        RequestAccepted,
        RequestDeclined,
        RequestWaits, // behind a locked screen, while another user is at the machine's
        Message,
        Command
    };
    // Whose answer to a request it was.
    enum class By { User, LockedScreen };

    Kind kind = Kind::SessionBegan;
    QDateTime time = {}; // in UTC
    qint64 session = 0;  // of all but messages
    QString name = {};   // the operator's, or the message's sender
    QString text = {};   // the command, or the message
    By by = By::User;
    std::optional<qint64> status = std::nullopt; // of a command that has ended
    bool isRunning = false;                      // the command
    bool isUnseen = false;                       // it happened while the user was away
    // Tells the commands and the messages of this run of the agent apart.
    quint64 number = 0;

    // "Session began".
    [[nodiscard]] QString event(const JsonData::Info& labels) const;
    // "Ann", "true", "Ann: the message".
    [[nodiscard]] QString details() const;
    // "0", "Running"; empty where there is none.
    [[nodiscard]] QString statusText(const JsonData::Info& labels) const;

    // Without the number. None where a value is missing or none of ours.
    [[nodiscard]] QJsonObject toJson() const;
    [[nodiscard]] static std::optional<Activity> fromJson(const QJsonObject& json);
};
