#include "WriteFile.h"
#include "localisation/Translate.h"
#include "logging/Logs.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// The label document that is shipped, and what becomes of damaged ones.
class TestTranslate : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QFile shipped(u"" VANTORY_SHIPPED_RESOURCES "/translate.json"_s);
        QVERIFY(shipped.open(QIODevice::ReadOnly));
        m_shipped = shipped.readAll();
        qputenv("VANTORY_ROOT", QFile::encodeName(m_root.path()));
        QVERIFY(QDir().mkpath(m_logs));
        LogErrorDestination().cleanUp();
    }

    void damagedDocuments()
    {
        for (const auto& [before, after] :
             {std::pair<QByteArray, QByteArray>("\"ok\"", "\"unknown\": 5, \"ok\""), // may be there
              {"\"_import\"", "\"unknown\""},
              {"\"ok\": \"OK\"", "\"ok\": 1"},
              {"\"OK\"", "\"\xff\""}}) {
            auto document = m_shipped;
            document.replace(document.lastIndexOf(before), before.size(), after);
            const bool isGood = after.endsWith(before);
            QVERIFY2(install(document) && (getLanguageLabel() != nullptr) == isGood, after);
            const QByteArray errors = takeErrors();
            QCOMPARE(errors.count('\n'), isGood ? 0 : 1);
            QVERIFY2(isGood || errors.contains("error to get language: "), errors);
        }
    }

    // By name: the document lists Spanish before Italian, the enumeration after it.
    void languages()
    {
        QVERIFY(install(m_shipped)); // which shows at the next look
        const auto labels = getLanguageLabel();
        QVERIFY2(labels, takeErrors());
        const std::pair<const char*, QString> expectations[] = {
            {"en", u"Cancel"_s},      {"fr_CA", u"Annuler"_s},   {"it", u"Annulla"_s},
            {"es_MX", u"Cancelar"_s}, {"de-AT", u"Abbrechen"_s}, {"ko_KR", u"취소"_s},
            {"pt-BR", u"Cancelar"_s}, {"zh-Hans", u"Cancel"_s},  {"DE", u"Cancel"_s},
            {"C", u"Cancel"_s},
        };
        for (const auto& [preference, cancel] : expectations) {
            const Language language = languageFor({QLatin1StringView(preference), u"fr"_s});
            QCOMPARE(labels->info(language).Common.cancel, cancel);
            QCOMPARE(language == Language::Portuguese, QByteArray(preference) == "pt-BR");
        }
    }

private:
    [[nodiscard]] QByteArray takeErrors() const
    {
        QFile log(m_errors);
        const QByteArray errors = log.open(QIODevice::ReadWrite) ? log.readAll() : QByteArray("?");
        log.resize(0);
        return errors;
    }

    static bool install(const QByteArray& document)
    {
        return writeFile(QCoreApplication::applicationDirPath() + u"/Resources/translate.json"_s,
                         document);
    }

    QByteArray m_shipped;
    QTemporaryDir m_root;
    const QString m_logs = m_root.filePath(u"var/lib/Halvern/vantoryAgent/logs"_s);
    const QString m_errors = m_logs + u"/vantoryAgent.stderr"_s;
};

QTEST_GUILESS_MAIN(TestTranslate)
#include "tst_translate.moc"
