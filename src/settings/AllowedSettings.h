#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// What the account permits on this machine: the service writes it to gateway.json in the agent's
// preferences. The fields have their keys' names. The agent uses `show_agent_ui_on_connection`
// only, but a document without one of the others is not read.
struct AllowedData {
    bool allow_message_to_devices = false;
    bool allow_chat_to_devices = false;
    bool require_user_acknowledgement_for_devices = false;
    std::optional<bool> show_agent_ui_on_connection;
    bool allow_file_transfer_to_devices = false;
    bool allow_devices_to_be_viewed = false;
};

// The document's one member.
struct AllowedSettings {
    AllowedData settings;
};

// The file's place, root directory included. Any thread.
[[nodiscard]] QString allowedSettingsPath();

// Reads the file. None where there is none, or where it is larger than a mebibyte or does not
// decode. One that is there but can't be read, or is no regular file, ends the program. Any thread.
[[nodiscard]] std::optional<AllowedData> readAllowedSettings();

// Whether the status window may show itself, as the file says now: yes, no, or not said. Any
// thread.
[[nodiscard]] std::optional<bool> showsAgentOnConnection();

// Whether it says no. A file that can't be read says nothing here, and ends nothing. Any thread.
[[nodiscard]] bool forbidsShowingAgent();

// Decodes the file's bytes. Any thread.
[[nodiscard]] std::optional<AllowedData> allowedSettingsFrom(const QByteArray& text);
