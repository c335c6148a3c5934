#pragma once

#include <QString>
#include <QStringView>

#include <optional>

// The commands between the agent and the service, in both directions; no other file spells them.
//
// A command is UTF-8 text: either a keyword alone, or a keyword with "=" at its end and then a
// payload. The agent puts "#####" before each command that it sends; the service sends bare
// commands, one in each read.
namespace Protocol {

enum class Match { Whole, Prefix };

struct InboundCommand {
    QStringView text;
    Match match;

    // The payload where the message is this command, in the message's own text; empty for a keyword
    // alone.
    [[nodiscard]] std::optional<QStringView> payloadOf(QStringView message) const;
};

// From the service. A message is compared with them in this order, and the first match counts.
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

// To the service: whole messages, with the "#####". It does not occur again in any of them, and
// none ends in "#", whatever a name or a chat's line holds.
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

// A decimal number of a payload: an optional sign and ASCII digits only, in range.
[[nodiscard]] std::optional<qint64> parseInteger64(QStringView text);
[[nodiscard]] std::optional<qint32> parseInteger32(QStringView text);

} // namespace Protocol
