#pragma once

#include "localisation/Translate.h"

#include <QJsonObject>
#include <QLatin1StringView>
#include <QString>
#include <QStringList>

// What the program says in a terminal, in one language. The texts are in the resource
// commands.json: an object a text, with the texts of the seven languages. Where the resource or a
// text is missing, its key stands for it. Any thread, but each object only one.
class CommandTexts {
public:
    explicit CommandTexts(Language language);
    // In the person's language.
    CommandTexts();

    // The text, with the values in the places of "%1", "%2" and so on. What the values hold is not
    // replaced again; they come from outside and are made safe for one line of a terminal.
    [[nodiscard]] QString text(QLatin1StringView key, const QStringList& values = {}) const;

    // Whether the resource could be read.
    [[nodiscard]] bool isWhole() const { return !m_texts.isEmpty(); }

private:
    QString m_language;
    QJsonObject m_texts;
};
