#pragma once

#include <QByteArray>

// What the service tells of sessions.
namespace ServiceMessages {

inline QByteArray connected(int number, const QByteArray& name)
{
    return "connected_session={\"session\":" + QByteArray::number(number) +
           ",\"deviceName\":\"desk\",\"controlName\":\"" + name + "\"}";
}

// One of a status.
inline QByteArray session(int number, const QByteArray& name)
{
    return "{\"session\":" + QByteArray::number(number) +
           R"(,"remoteDevice":"desk","remoteControlUser":")" + name + "\"}";
}

inline QByteArray status(const QByteArray& sessions, const QByteArray& gateway = "gw",
                         const QByteArray& isValid = "true")
{
    return "status={\"accountIsValid\":" + isValid + ",\"gateway\":\"" + gateway +
           R"(","sessionId":"","sessions":[)" + sessions + "]}";
}

} // namespace ServiceMessages
