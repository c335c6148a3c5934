#pragma once

#include "window_kit/ElidedLabel.h"

#include <QString>

// The question of the consent dialog: one sentence, "SERVER asks ... by OPERATOR", which text() and
// a screen reader have to the letter.
//
// It is shown in three paragraphs, with each name in bold on a line of its own. So no name can look
// like a part of the question, reorder it or push it away. A name that does not fit its line is
// elided, and the tool tip has it whole.
class AcknowledgementText : public ElidedLabel {
    Q_OBJECT

public:
    using ElidedLabel::ElidedLabel;

    // What is asked; it is shown with the next names.
    void setDescription(const QString& description) { m_description = description; }
    void setNames(const QString& server, const QString& controlUser);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void elide() override;
    [[nodiscard]] QFont nameFont() const;
    [[nodiscard]] QRect descriptionRect(int width) const;

    QString m_server;
    QString m_description;
    QString m_controlUser;
    QString m_shownServer;
    QString m_shownControlUser;
    bool m_hasKeyboardFocus = false; // reached by the Tab key
};
