#pragma once

#include <optional>

// What the account permits on this machine, as the service leaves it in
// /Library/Preferences/vantoryAgent/gateway.json. Fields bear their keys' names. The agent acts on
// `show_agent_ui_on_connection` alone, but a document counts only when all the others are there.
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

// Reads the file. None where there is none, or where it is larger than a mebibyte or does not
// decode. One that is there but can't be read, or is no regular file, ends the program. Any thread.
[[nodiscard]] std::optional<AllowedData> readAllowedSettings();
