#include "platform/processes/SystemPrograms.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace {

QString existing(const QString& usual, const QString& other)
{
    return QFile::exists(usual) ? usual : other;
}

} // namespace

QString SystemPrograms::chown()
{
    return existing(u"/usr/sbin/chown"_s, u"/usr/bin/chown"_s);
}

QString SystemPrograms::su()
{
    return existing(u"/usr/bin/su"_s, u"/bin/su"_s);
}
