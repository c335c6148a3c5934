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

    // It is decoded again only after a change, but after each.
    void anEditShowsAtTheNextLook()
    {
        for (const char* const text : {"OK", "KO", "ok"}) {
            auto edited = m_shipped;
            QVERIFY(install(edited.replace("\"OK\"", "\"" + QByteArray(text) + "\"")));
            QCOMPARE(getLanguageLabel()->En.Common.ok, QLatin1StringView(text));
        }
        QTRY_COMPARE(getLanguageLabel(), getLanguageLabel()); // the same document
        QVERIFY(install(m_shipped));
        QCOMPARE(getLanguageLabel()->En.Common.ok, u"OK"_s);
    }

    void damagedDocuments()
    {
        const auto replaced = [this](const QByteArray& before, const QByteArray& after) {
            const qsizetype inLastLanguage = m_shipped.lastIndexOf(before);
            return QByteArray(m_shipped).replace(inLastLanguage, before.size(), after);
        };
        QVERIFY(install(replaced("\"ok\"", "\"unknown\": 5, \"ok\"")) && getLanguageLabel());
        QCOMPARE(takeErrors(), QByteArray());
        for (const QByteArray& bad :
             {replaced("\"_import\"", "\"unknown\""), replaced("\"ok\": \"OK\"", "\"ok\": 1"),
              replaced("\"OK\"", "\"\xff\""), m_shipped.chopped(3), QByteArray()}) {
            QVERIFY2(install(bad) && !getLanguageLabel(), bad.right(200));
            const QByteArray errors = takeErrors();
            QVERIFY2(errors.contains("error to get language: ") && errors.count('\n') == 1, errors);
        }
    }

    // By name: the document lists Spanish before Italian, the enumeration after it.
    void languages()
    {
        QVERIFY(install(m_shipped));
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
        QCOMPARE(takeErrors(), QByteArray());
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
