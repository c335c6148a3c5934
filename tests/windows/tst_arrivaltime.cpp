#include "windows/ArrivalTime.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestArrivalTime : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isWrittenAsTheLocaleDoes_data()
    {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("text");

        const auto row = [](const char* name, const char* language, const char* text) {
            QTest::newRow(name) << language << text;
        };
        row("English", "en_US", "March 05, 2025 at 21:03:09");
        row("French", "fr_FR", "05 mars 2025 à 21:03:09");
        row("Italian", "it_IT", "05 marzo 2025 alle ore 21:03:09");
        row("Spanish", "es_ES", "05 de marzo de 2025, 21:03:09");
        row("German", "de", "05. März 2025 um 21:03:09");
        row("Korean", "ko_KR", "2025년 3월 05일 21:03:09");
        row("Portuguese", "pt_BR", "05 de março de 2025 às 21:03:09");
        row("BCP 47", "en-GB", "05 March 2025 at 21:03:09");
        row("C", "C", "March 05, 2025 at 21:03:09");
        row("own digits", "ar_EG", "٠٥ مارس ٢٠٢٥ في ٢١:٠٣:٠٩");
        row("own calendar and digits", "fa_IR", "۱۵ اسفند ۱۴۰۳ ساعت ۲۱:۰۳:۰۹");
        row("Buddhist years", "th_TH", "05 มีนาคม 2568 เวลา 21:03:09");
        row("calendar named", "th-TH-u-ca-buddhist", "05 มีนาคม 2568 เวลา 21:03:09");
        row("another calendar", "th-TH-u-ca-gregory", "05 มีนาคม 2025 เวลา 21:03:09");
        row("years of an era", "ja-JP-u-ca-japanese", "令和7年3月05日 21:03:09");
    }

    void isWrittenAsTheLocaleDoes()
    {
        QFETCH(QString, language);
        const QDateTime time(QDate(2025, 3, 5), QTime(21, 3, 9), Qt::OffsetFromUTC, 3'600);
        QTEST(arrivalTime(time, language), "text");
    }

    // Also in a zone that only this system knows, and away from whole hours.
    void isToldInTheSystemsZone()
    {
        const QByteArray before = qgetenv("TZ");
        for (const auto& [zone, text] : {std::pair("America/St_Johns", u"30 June 2025 at 21:30:00"),
                                         std::pair("XYZ-5:15", u"01 July 2025 at 05:15:00")}) {
            qputenv("TZ", zone);
            const QDateTime time = QDateTime::fromSecsSinceEpoch(1'751'328'000);
            QCOMPARE(arrivalTime(time, u"en_GB"_s), QString::fromUtf16(text));
        }
        before.isNull() ? qunsetenv("TZ") : qputenv("TZ", before);
    }
};

QTEST_GUILESS_MAIN(TestArrivalTime)
#include "tst_arrivaltime.moc"
