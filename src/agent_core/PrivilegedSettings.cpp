#include "agent_core/PrivilegedSettings.h"

#include "logging/Logs.h"
#include "platform/processes/ChildProcess.h"
#include "platform/processes/SecretText.h"
#include "platform/processes/SystemPrograms.h"
#include "settings/SettingsFile.h"

#include <QFile>
#include <QFileInfo>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::minutes kLongestShell(1);

fs::path systemPath(const QString& path)
{
    return fs::path(QFile::encodeName(path).toStdString());
}

// Runs a script that holds a password, and wipes it. Everybody may read the file that it writes,
// whatever the agent's own umask is.
void runInShell(QString script, const QString& purpose)
{
    ChildProcess::Options options = {.input = script.toUtf8(), .limit = kLongestShell};
    const auto result = ChildProcess::run(SystemPrograms::kBash.toString(),
                                          SettingsCommands::shellArguments(), options);
    SecretText::wipe(options.input);
    SecretText::wipe(script);
    if (!result.status) {
        printErrorLog(u"The shell that is to %1 failed: %2"_s.arg(purpose, result.error));
    }
}

// Removes a directory with its content.
void removeWithOwnRights(const fs::path& path)
{
    std::error_code error;
    fs::remove_all(path, error);
    if (error) {
        std::printf("%s: %s\n", path.c_str(), error.message().c_str());
        std::fflush(stdout);
    }
}

// All entries, hidden ones too; none where the directory can't be read.
std::vector<fs::path> entries(const fs::path& directory)
{
    std::vector<fs::path> paths;
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        paths.push_back(entry->path());
    }
    return paths;
}

} // namespace

void PrivilegedSettings::removeAsRoot(const Credentials& credentials, const QString& path)
{
    runInShell(SettingsCommands::remove(credentials, path), u"remove the settings"_s);
}

void PrivilegedSettings::createSettingsPlistAsRoot(const Credentials& credentials,
                                                   const BackendSettings& setting)
{
    runInShell(SettingsCommands::write(credentials, settingsPropertyList(setting),
                                       backendSettingsPath(), SystemPrograms::chown()),
               u"write the settings"_s);
}

void PrivilegedSettings::replace(const Credentials& credentials, const BackendSettings& setting)
{
    const QString settingsPath = backendSettingsPath();
    const fs::path settingsFile = systemPath(settingsPath);
    for (const fs::path& entry : entries(settingsFile.parent_path())) {
        if (entry.filename() == settingsFile.filename()) {
            removeAsRoot(credentials, settingsPath);
        } else {
            removeWithOwnRights(entry);
        }
    }
    const QString other = olderSettingsPath();
    if (QFileInfo::exists(other)) {
        removeWithOwnRights(systemPath(other));
    }
    createSettingsPlistAsRoot(credentials, setting);
}
