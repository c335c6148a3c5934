#include "platform/files/Json.h"

#include <QByteArrayView>
#include <QChar>
#include <QJsonDocument>

#include <string_view>

using namespace Qt::StringLiterals;

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// The length of the escape sequence at the start (RFC 8259, section 7), both halves of a surrogate
// pair included; 0 if it is invalid.
qsizetype escapeLength(QByteArrayView text)
{
    if (text[1] != 'u') {
        return QByteArrayView("\"\\/bfnrt").contains(text[1]) ? 2 : 0;
    }
    const auto codeUnit = [text](qsizetype at) { return text.sliced(at, 4).toUShort(nullptr, 16); };
    if (QChar::isLowSurrogate(codeUnit(2))) {
        return 0;
    }
    if (!QChar::isHighSurrogate(codeUnit(2))) {
        return 6;
    }
    const bool isPair =
        text.size() >= 12 && text.sliced(6).startsWith("\\u") && QChar::isLowSurrogate(codeUnit(8));
    return isPair ? 12 : 0;
}

// Whether a text that QJsonDocument has read as an object is JSON. It also reads strings with
// control characters or unknown escapes, and numbers with no digit on one side of the point.
bool isStrict(QByteArrayView text)
{
    bool isInString = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') {
            isInString = !isInString;
        } else if (!isInString) {
            if (c == '.' && !(isDigit(text[i - 1]) && isDigit(text[i + 1]))) {
                return false;
            }
        } else if (c == '\\') {
            const qsizetype length = escapeLength(text.sliced(i));
            if (length == 0) {
                return false;
            }
            i += length - 1;
        } else if (static_cast<uchar>(c) < 0x20) {
            return false;
        }
    }
    return true;
}

// In a string U+FEFF is a character like any other, but QJsonDocument leaves it out at the start of
// each. As an escape it is read. One at the start of the text is a byte order mark, and stays.
QByteArray withEscapedMarks(const QByteArray& text)
{
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    const std::string_view bytes(text.constData(), static_cast<std::size_t>(text.size()));
    const std::size_t first = bytes.find(kMark, 1);
    if (first == std::string_view::npos) {
        return text;
    }
    const auto head = static_cast<qsizetype>(first);
    return text.first(head) + text.sliced(head).replace(kMark.data(), "\\ufeff");
}

} // namespace

JsonDocument readJson(const QByteArray& text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(withEscapedMarks(text), &error);
    if (error.error != QJsonParseError::NoError) {
        return {std::nullopt, error.errorString()};
    }
    if (!document.isObject()) {
        return {std::nullopt, u"the document is not an object"_s};
    }
    if (!isStrict(text)) {
        return {std::nullopt, u"the document has a string or a number that is not JSON"_s};
    }
    return {document.object(), QString()};
}
