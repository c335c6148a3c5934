#include "platform/desktop/DBusMenuItemProperties.h"

#include <QAction>
#include <QBuffer>
#include <QGuiApplication>
#include <QIcon>
#include <QKeySequence>
#include <QPixmap>

using namespace Qt::StringLiterals;

namespace {

const QString kType = u"type"_s;
const QString kLabel = u"label"_s;
const QString kDescription = u"accessible-desc"_s;
const QString kEnabled = u"enabled"_s;
const QString kVisible = u"visible"_s;
const QString kIconData = u"icon-data"_s;
const QString kShortcut = u"shortcut"_s;

enum class Marks { Underscore, None };

// An action's text for dbusmenu. In labels an underscore marks the mnemonic and "__" is one
// underscore, as it is with the ampersand in Qt; descriptions are plain text.
QString textOf(const QString& text, Marks marks)
{
    QString label;
    bool marked = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        QChar character = text[i];
        if (character == u'&') {
            if (++i == text.size()) {
                break;
            }
            character = text[i];
            if (marks != Marks::None && !marked && character.isLetterOrNumber()) {
                label += u'_';
                marked = true;
            }
        }
        const auto category = character.category();
        if (category == QChar::Other_Control || category == QChar::Separator_Line ||
            category == QChar::Separator_Paragraph) {
            label += u' ';
        } else if (marks != Marks::None && character == u'_') {
            label += u"__"_s;
        } else {
            label += character;
        }
    }
    return label;
}

// Sixteen logical pixels, the usual size of pictures in menus, at the scale of this program's
// screens. Hosts scale larger pictures down, and lines of one pixel get lost then.
QByteArray pngOf(const QIcon& icon)
{
    QByteArray png;
    if (!icon.isNull()) {
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        icon.pixmap(QSize(16, 16), qGuiApp->devicePixelRatio()).save(&buffer, "PNG");
    }
    return png;
}

// A list for each key press: its modifiers, then the key.
QList<QStringList> shortcutOf(const QKeySequence& sequence)
{
    QList<QStringList> presses;
    for (int i = 0; i < sequence.count(); ++i) {
        const QKeyCombination press = sequence[static_cast<uint>(i)];
        QStringList names;
        for (const auto& [modifier, name] :
             {std::pair(Qt::ControlModifier, u"Control"_s), std::pair(Qt::AltModifier, u"Alt"_s),
              std::pair(Qt::ShiftModifier, u"Shift"_s), std::pair(Qt::MetaModifier, u"Super"_s)}) {
            if (press.keyboardModifiers().testFlag(modifier)) {
                names += name;
            }
        }
        const QString key = QKeySequence(press.key()).toString(QKeySequence::PortableText);
        // Hosts join the list with "+" or "-".
        if (key == u"+") {
            names += u"plus"_s;
        } else if (key == u"-") {
            names += u"minus"_s;
        } else {
            names += key.size() == 1 ? key.toLower() : key;
        }
        presses += names;
    }
    return presses;
}

} // namespace

QVariantMap DBusMenuItemProperties::of(const QAction& action)
{
    QVariantMap properties;
    properties[kVisible] = action.isVisible();
    if (action.isSeparator()) {
        properties[kType] = u"separator"_s;
        return properties;
    }
    properties[kLabel] = textOf(action.text(), Marks::Underscore);
    properties[kDescription] = textOf(action.text(), Marks::None);
    properties[kEnabled] = action.isEnabled();
    if (const QByteArray png = pngOf(action.icon());
        !png.isEmpty() && action.isIconVisibleInMenu()) {
        properties[kIconData] = png;
    }
    if (!action.shortcut().isEmpty()) {
        properties[kShortcut] = QVariant::fromValue(shortcutOf(action.shortcut()));
    }
    return properties;
}

QStringList DBusMenuItemProperties::optionalNames()
{
    return {kIconData, kShortcut, kType, kLabel, kDescription, kEnabled};
}
