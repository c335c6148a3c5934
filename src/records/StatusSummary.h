#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

// What an agent tells of itself when it is asked in a terminal, as JSON text (RFC 8259):
//   {"running": true, "port": 62188, "linked": true, "gateway": "North",
//    "sessions": [{"session": 7, "name": "Ann Carter", "device": "Desk 12",
//                  "began": "2026-03-01T09:30:00Z"}]}
// "gateway" is empty where it is not known, and "began" (ISO 8601, UTC) then is missing. Any
// thread.
struct StatusSummary {
    struct Session {
        qint64 session = 0;
        QString name; // the operator's
        QString device;
        QDateTime began; // invalid where it is not known
    };

    bool isLinked = false;
    QString gateway;
    quint16 port = 0;
    QList<Session> sessions;

    [[nodiscard]] QByteArray toJson() const;
    [[nodiscard]] static QByteArray notRunning();
    // None where the text is no such object or says that no agent runs.
    [[nodiscard]] static std::optional<StatusSummary> fromJson(const QByteArray& text);
};
