#include "platform/processes/SystemPrograms.h"

#include <QFile>

using namespace Qt::StringLiterals;

QString SystemPrograms::chown()
{
    const QString usual = u"/usr/sbin/chown"_s;
    return QFile::exists(usual) ? usual : u"/usr/bin/chown"_s;
}
