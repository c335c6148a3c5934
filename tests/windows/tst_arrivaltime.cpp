#include "windows/ArrivalTime.h"

#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;

class TestArrivalTime : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isWrittenAsTheLocaleDoes()
    {
        const std::pair<const char*, const char*> cases[] = {
            {"en_US", "March 05, 2025 at 21:03:09"},
            {"de", "05. März 2025 um 21:03:09"},
            {"pt_BR", "05 de março de 2025 às 21:03:09"},
            {"ko_KR", "2025년 3월 05일 21:03:09"},
            {"en-GB", "05 March 2025 at 21:03:09"},
            {"C", "March 05, 2025 at 21:03:09"},
            {"fa_IR", "۱۵ اسفند ۱۴۰۳ ساعت ۲۱:۰۳:۰۹"}, // digits and calendar of its own
            {"th_TH", "05 มีนาคม 2568 เวลา 21:03:09"},
            {"th-TH-u-ca-gregory", "05 มีนาคม 2025 เวลา 21:03:09"},
            {"ja-JP-u-ca-japanese", "令和7年3月05日 21:03:09"},
        };
        const QDateTime time(QDate(2025, 3, 5), QTime(21, 3, 9), QTimeZone(3'600));
        for (const auto& [language, text] : cases) {
            QCOMPARE(arrivalTime(time, QLatin1StringView(language)), QString::fromUtf8(text));
        }
    }

    // The second zone is known to this system only, and both are away from whole hours.
    void isToldInTheSystemsZone()
    {
        for (const auto& [zone, text] : {std::pair("America/St_Johns", u"30 June 2025 at 21:30:00"),
                                         std::pair("XYZ-5:15", u"01 July 2025 at 05:15:00")}) {
            qputenv("TZ", zone);
            const QDateTime time = QDateTime::fromSecsSinceEpoch(1'751'328'000);
            QCOMPARE(arrivalTime(time, u"en_GB"_s), QString::fromUtf16(text));
        }
    }
};

QTEST_GUILESS_MAIN(TestArrivalTime)
#include "tst_arrivaltime.moc"
