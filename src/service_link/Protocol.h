#pragma once

#include <QString>
#include <QStringView>

#include <optional>

// The words of the link to the service, in both directions. They stand here and nowhere else.
//
// The agent marks what it sends with "#####"; the service sends bare commands, one a read. A
// command is UTF-8 text: a keyword that is the whole text, or a prefix ending in "=" and then the
// payload.
namespace Protocol {

enum class Match { Whole, Prefix };

struct InboundCommand {
    QStringView text;
    Match match;

    // The payload (empty for a keyword) where the message is this command.
    [[nodiscard]] std::optional<QString> payloadOf(const QString& message) const;
};

// From the service, in the order in which a message is compared with them; the first that matches
// is meant.
inline constexpr InboundCommand kDisconnectedGateway{u"disconnected_gateway", Match::Whole};
inline constexpr InboundCommand kDisconnectAllSessions{u"disconnect_all_sessions", Match::Whole};
inline constexpr InboundCommand kAccountInvalid{u"account_invalid", Match::Whole};
inline constexpr InboundCommand kUserAcknowledgement{u"user_acknowledgement=", Match::Prefix};
inline constexpr InboundCommand kDisconnectedGatewayReason{u"disconnected_gateway=", Match::Prefix};
inline constexpr InboundCommand kConnectedSession{u"connected_session=", Match::Prefix};
inline constexpr InboundCommand kDisconnectedSession{u"disconnected_session=", Match::Prefix};
inline constexpr InboundCommand kCloseAcknowledgement{u"close_acknowledgement", Match::Whole};
inline constexpr InboundCommand kReceiveMessage{u"receive_message=", Match::Prefix};
inline constexpr InboundCommand kRequestChat{u"request_chat=", Match::Prefix};
inline constexpr InboundCommand kCloseChat{u"close_chat=", Match::Prefix};
inline constexpr InboundCommand kReceiveChat{u"receive_chat=", Match::Prefix};
inline constexpr InboundCommand kChatJoinedMember{u"chat_joined_member=", Match::Prefix};
inline constexpr InboundCommand kChatLeftMember{u"chat_left_member=", Match::Prefix};
inline constexpr InboundCommand kExecuteCommand{u"execute_command=", Match::Prefix};
inline constexpr InboundCommand kExecuteApplication{u"execute_application=", Match::Prefix};
inline constexpr InboundCommand kConnectedGateway{u"connected_gateway=", Match::Prefix};
inline constexpr InboundCommand kStatus{u"status=", Match::Prefix};

// To the service: whole messages, marker included.
[[nodiscard]] QString requestConnectionsStatus();
[[nodiscard]] QString requestRestart();
[[nodiscard]] QString updateUser(const QString& name);
[[nodiscard]] QString acceptConnection(qint64 session);
[[nodiscard]] QString declineConnection(qint64 session);
[[nodiscard]] QString disconnectSession(qint64 session);
[[nodiscard]] QString closeChat(qint32 token);
[[nodiscard]] QString chatRequest(qint64 session);
[[nodiscard]] QString sendChat(const QString& json);
[[nodiscard]] QString resultCommand(qint64 session, qint64 status);
[[nodiscard]] QString resultCommandFailedToRead();

// Decimal numbers as payloads hold them: an optional sign and ASCII digits, nothing else, in range.
[[nodiscard]] std::optional<qint64> parseInteger64(QStringView text);
[[nodiscard]] std::optional<qint32> parseInteger32(QStringView text);

} // namespace Protocol
