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

// From the service. A message is compared with them in this order, and the first match counts.
// What ends in "=" begins a message, with the payload behind it; any other is a whole message.
inline constexpr QStringView kDisconnectedGateway = u"disconnected_gateway";
inline constexpr QStringView kDisconnectAllSessions = u"disconnect_all_sessions";
inline constexpr QStringView kAccountInvalid = u"account_invalid";
inline constexpr QStringView kUserAcknowledgement = u"user_acknowledgement=";
inline constexpr QStringView kDisconnectedGatewayReason = u"disconnected_gateway=";
inline constexpr QStringView kConnectedSession = u"connected_session=";
inline constexpr QStringView kDisconnectedSession = u"disconnected_session=";
inline constexpr QStringView kCloseAcknowledgement = u"close_acknowledgement";
inline constexpr QStringView kReceiveMessage = u"receive_message=";
inline constexpr QStringView kRequestChat = u"request_chat=";
inline constexpr QStringView kCloseChat = u"close_chat=";
inline constexpr QStringView kReceiveChat = u"receive_chat=";
inline constexpr QStringView kChatJoinedMember = u"chat_joined_member=";
inline constexpr QStringView kChatLeftMember = u"chat_left_member=";
inline constexpr QStringView kExecuteCommand = u"execute_command=";
inline constexpr QStringView kExecuteApplication = u"execute_application=";
inline constexpr QStringView kConnectedGateway = u"connected_gateway=";
inline constexpr QStringView kStatus = u"status=";

// The payload where the message is this command, in the message's own text; empty for a keyword
// alone.
[[nodiscard]] std::optional<QStringView> payloadOf(QStringView command, QStringView message);

// To the service.
inline constexpr QStringView kRequestConnectionsStatus = u"request=connections_status";
inline constexpr QStringView kRequestRestart = u"request=restart";
inline constexpr QStringView kAcceptConnection = u"accept_connection=";
inline constexpr QStringView kDeclineConnection = u"decline_connection=";
inline constexpr QStringView kDisconnectSession = u"disconnect_session=";
inline constexpr QStringView kChatRequest = u"chat_request=";
inline constexpr QStringView kResultCommandFailedToRead = u"result_command_failed_to_read";

// Whole messages to the service, with the "#####". It does not occur again in any of them, and
// none ends in "#", whatever a name or a chat's line holds.
[[nodiscard]] QString message(QStringView command);
[[nodiscard]] QString message(QStringView command, qint64 number);
[[nodiscard]] QString updateUser(const QString& name);
[[nodiscard]] QString sendChat(const QString& json);
[[nodiscard]] QString resultCommand(qint64 session, qint64 status);

} // namespace Protocol
