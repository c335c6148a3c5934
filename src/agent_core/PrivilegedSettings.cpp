#include "agent_core/PrivilegedSettings.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <vector>

#include <QFile>
#include <QFileInfo>

#include "agent_core/SettingsFile.h"
#include "logging/Logs.h"
#include "platform/files/FilePaths.h"
#include "platform/processes/BoundedProcess.h"
#include "platform/processes/SecretText.h"

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::minutes kLongestShell(1);

fs::path systemPath(const QString& path)
{
    return fs::path(QFile::encodeName(path).toStdString());
}

// Runs a command line that holds a password, and overwrites it.
void runInShell(QString line, const QString& purpose)
{
    QStringList arguments = {QStringLiteral("-c"), line};
    const auto result =
        BoundedProcess::run(QStringLiteral("/bin/bash"), arguments, {}, kLongestShell);
    arguments.clear();
    SecretText::wipe(line);
    if (!result.status) {
        printErrorLog(
            QStringLiteral("The shell that is to %1 failed: %2").arg(purpose, result.error));
    }
}

QString chownProgram()
{
    const QString usual = QStringLiteral("/usr/sbin/chown");
    return QFile::exists(usual) ? usual : QStringLiteral("/usr/bin/chown");
}

// A directory goes with all that is in it.
void removeWithOwnRights(const fs::path& path)
{
    std::error_code error;
    fs::remove_all(path, error);
    if (error) {
        std::printf("%s: %s\n", path.c_str(), error.message().c_str());
        std::fflush(stdout);
    }
}

// All entries, hidden ones too; none of a directory that can't be read.
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
    runInShell(SettingsRules::removeCommand(credentials, path),
               QStringLiteral("remove the settings"));
}

void PrivilegedSettings::createSettingsPlistAsRoot(const Credentials& credentials,
                                                   const BackendSettings& setting)
{
    runInShell(SettingsRules::writeCommand(credentials, SettingsRules::propertyList(setting),
                                           backendSettingsPath(), chownProgram()),
               QStringLiteral("write the settings"));
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
    const QString other = FilePaths::rooted(
        FilePaths::libraryDirectory() + QStringLiteral("/Application Support/Halvern/vantoryAgent/"
                                                       "ostrand_settings.json"));
    if (QFileInfo::exists(other)) {
        removeWithOwnRights(systemPath(other));
    }
    createSettingsPlistAsRoot(credentials, setting);
}
