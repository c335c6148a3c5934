#include "platform/processes/SecretText.h"

#include <cstring>

namespace {

template <typename Text>
void overwrite(Text& text)
{
    auto& data = text.data_ptr();
    // A literal's characters can't be written to.
    if (data.isMutable()) {
        ::explicit_bzero(data.data(), static_cast<std::size_t>(data.size) * sizeof *data.data());
    }
    text.clear();
}

} // namespace

QString SecretText::copy(const QString& text)
{
    return QString(text.constData(), text.size());
}

void SecretText::wipe(QString& text)
{
    overwrite(text);
}

void SecretText::wipe(QByteArray& text)
{
    overwrite(text);
}
