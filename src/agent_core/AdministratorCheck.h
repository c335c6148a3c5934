#pragma once

#include <QString>

// Whether this is a local account and its password, and, only if told so, an administrator's. Takes
// seconds; any thread.
[[nodiscard]] bool authenticateLocalAdminUser(const QString& username, const QString& password,
                                              bool checkAdmin);
