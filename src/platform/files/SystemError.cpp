#include "platform/files/SystemError.h"

#include <system_error>

QString systemErrorText(int code)
{
    return QString::fromStdString(std::generic_category().message(code));
}
