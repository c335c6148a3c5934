#pragma once

#include "command_line/CommandTexts.h"

#include <QList>
#include <QString>

// A line of what was found: a cause and its remedy, or something that whoever looks should know.
struct Finding {
    QString text;
    bool isWrong = true;

    // Something that is wrong.
    [[nodiscard]] static Finding wrong(const CommandTexts& texts, QLatin1StringView key,
                                       const QStringList& values = {})
    {
        return {texts.text(key, values), true};
    }

    // Something to know.
    [[nodiscard]] static Finding known(const CommandTexts& texts, QLatin1StringView key,
                                       const QStringList& values = {})
    {
        return {texts.text(key, values), false};
    }
};

using Findings = QList<Finding>;
