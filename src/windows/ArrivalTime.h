#pragma once

#include <QDateTime>
#include <QString>

// The moment at which a message came, in its own time zone: day, full month name, year and the time
// of 24 hours with seconds, in the order, digits and calendar of the locale.
//
// `language` is an identifier as the environment has it ("pt_BR", "C") or a BCP 47 tag
// ("th-TH-u-ca-buddhist"). Empty where ICU has no answer. Main thread.
[[nodiscard]] QString arrivalTime(const QDateTime& time, const QString& language);
