#include "windows/PlatformNames.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QLatin1StringView kProduction = "production"_L1;

} // namespace

QStringList PlatformNames::all()
{
    return {kProduction, u"staging"_s, u"testing"_s};
}

int PlatformNames::index(const QString& platform)
{
    return std::max(0, static_cast<int>(all().indexOf(platform)));
}

QString PlatformNames::value(const QString& name)
{
    return name == kProduction ? QString() : name;
}
