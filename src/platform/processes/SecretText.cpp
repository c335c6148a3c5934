#include "platform/processes/SecretText.h"

#include <cstring>

QString SecretText::copy(const QString& text)
{
    return QString(text.constData(), text.size());
}

template <typename Text>
void SecretText::wipe(Text& text)
{
    auto& data = text.data_ptr();
    // A literal's characters can't be written to.
    if (data.isMutable()) {
        ::explicit_bzero(data.data(), static_cast<std::size_t>(data.size) * sizeof *data.data());
    }
    text.clear();
}

template void SecretText::wipe(QString& text);
template void SecretText::wipe(QByteArray& text);
