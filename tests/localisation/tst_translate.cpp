#include "localisation/Translate.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
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
    }

    void init() { QVERIFY(QFile(m_errors).open(QIODevice::WriteOnly)); }

    void shippedDocumentIsWhole()
    {
        QVERIFY(install(m_shipped));
        const auto labels = getLanguageLabel();
        QVERIFY2(labels, errors());
        // By name: the document lists Spanish before Italian, the enumeration after it.
        QCOMPARE(labels->info(Language::Italian).Common.cancel, u"Annulla"_s);
        QCOMPARE(labels->info(Language::Spanish).Common.cancel, u"Cancelar"_s);
        QCOMPARE(labels->info(Language::Korean).Chat.chat, u"채팅"_s);
        QCOMPARE(errors(), QByteArray());
    }

    void damagedDocuments_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<bool>("decodes");

        const auto withLabel = [&](const char* key, const QJsonValue& value) {
            QJsonObject document = QJsonDocument::fromJson(m_shipped).object();
            QJsonObject language = document.value("Ko"_L1).toObject();
            QJsonObject labels = language.value("Common"_L1).toObject();
            labels.insert(QLatin1StringView(key), value); // an undefined one takes it away
            language.insert(u"Common"_s, labels);
            document.insert(u"Ko"_s, language);
            return QJsonDocument(document).toJson();
        };
        QTest::newRow("unknown label") << withLabel("x", 5) << true;
        QTest::newRow("with a byte order mark") << "\xef\xbb\xbf" + m_shipped << true;
        QTest::newRow("one label missing in one language")
            << withLabel("_import", QJsonValue::Undefined) << false;
        QTest::newRow("a label that is a number") << withLabel("ok", 1) << false;
        QTest::newRow("cut off") << m_shipped.left(m_shipped.size() / 2) << false;
        QTest::newRow("empty") << QByteArray() << false;
        QTest::newRow("a list") << QByteArray("[]") << false;
        QTest::newRow("no Unicode") << QByteArray("{\"En\":\"\xff\"}") << false;
    }

    void damagedDocuments()
    {
        QFETCH(QByteArray, document);
        QFETCH(bool, decodes);
        QVERIFY(install(document));
        QCOMPARE(getLanguageLabel().has_value(), decodes);
        QCOMPARE(errors().contains("error to get language: "), !decodes);
        QCOMPARE(errors().count('\n'), decodes ? 0 : 1);
    }

    void languages()
    {
        const std::pair<const char*, Language> expectations[] = {
            {"en", Language::English},       {"fr_CA", Language::French},
            {"it", Language::Italian},       {"es_MX", Language::Spanish},
            {"de-AT", Language::German},     {"ko_KR", Language::Korean},
            {"pt-BR", Language::Portuguese}, {"zh-Hans", Language::English},
            {"DE", Language::English},       {"C", Language::English},
            {"eng", Language::English},
        };
        for (const auto& [preference, language] : expectations) {
            QVERIFY2(languageFor({QLatin1StringView(preference), u"fr"_s}) == language, preference);
        }
    }

private:
    [[nodiscard]] QByteArray errors() const
    {
        QFile log(m_errors);
        return log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray();
    }

    bool install(const QByteArray& document)
    {
        const QString folder = QCoreApplication::applicationDirPath() + u"/Resources"_s;
        QFile file(folder + u"/translate.json"_s);
        return QDir().mkpath(folder) && file.open(QIODevice::WriteOnly) &&
               file.write(document) == document.size();
    }

    QByteArray m_shipped;
    QTemporaryDir m_root;
    const QString m_logs = m_root.filePath(u"var/lib/Halvern/vantoryAgent/logs"_s);
    const QString m_errors = m_logs + u"/vantoryAgent.stderr"_s;
};

QTEST_GUILESS_MAIN(TestTranslate)
#include "tst_translate.moc"
