#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include "localisation/Translate.h"

// The label document that is shipped, and what becomes of damaged ones.
class TestTranslate : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void shippedDocumentIsWhole();
    void damagedDocuments_data();
    void damagedDocuments();
    void languages_data();
    void languages();

private:
    bool install(const QByteArray& document);
    [[nodiscard]] QByteArray errors() const;

    QByteArray m_shipped;
    QTemporaryDir m_root;
};

void TestTranslate::initTestCase()
{
    QFile shipped(QStringLiteral(VANTORY_SHIPPED_RESOURCES "/translate.json"));
    QVERIFY(shipped.open(QIODevice::ReadOnly));
    m_shipped = shipped.readAll();
    qputenv("VANTORY_ROOT", QFile::encodeName(m_root.path()));
    QVERIFY(QDir().mkpath(m_root.filePath(QStringLiteral("var/lib/Halvern/vantoryAgent/logs"))));
}

void TestTranslate::init()
{
    QFile log(
        m_root.filePath(QStringLiteral("var/lib/Halvern/vantoryAgent/logs/vantoryAgent.stderr")));
    QVERIFY(log.open(QIODevice::WriteOnly));
}

QByteArray TestTranslate::errors() const
{
    QFile log(
        m_root.filePath(QStringLiteral("var/lib/Halvern/vantoryAgent/logs/vantoryAgent.stderr")));
    return log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray();
}

bool TestTranslate::install(const QByteArray& document)
{
    const QString folder = QCoreApplication::applicationDirPath() + QStringLiteral("/Resources");
    QFile file(folder + QStringLiteral("/translate.json"));
    return QDir().mkpath(folder) && file.open(QIODevice::WriteOnly) &&
           file.write(document) == document.size();
}

void TestTranslate::shippedDocumentIsWhole()
{
    QVERIFY(install(m_shipped));
    const auto labels = getLanguageLabel();
    QVERIFY2(labels, errors());
    // By name: the document lists Spanish before Italian, the enumeration after it.
    QCOMPARE(labels->info(Language::Italian).Common.cancel, QStringLiteral("Annulla"));
    QCOMPARE(labels->info(Language::Spanish).Common.cancel, QStringLiteral("Cancelar"));
    QCOMPARE(labels->info(Language::German).Common.cancel, QStringLiteral("Abbrechen"));
    QCOMPARE(labels->info(Language::English).Connection.ready, QStringLiteral("Agent ready"));
    QCOMPARE(labels->info(Language::Korean).Chat.chat, QStringLiteral("채팅"));
    QCOMPARE(errors(), QByteArray());
}

void TestTranslate::damagedDocuments_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<bool>("decodes");

    const QJsonObject whole = QJsonDocument::fromJson(m_shipped).object();
    const auto withLabel = [&](const QString& section, const QString& key,
                               const QJsonValue& value) {
        QJsonObject document = whole;
        QJsonObject language = document.value(QLatin1String("Ko")).toObject();
        QJsonObject labels = language.value(section).toObject();
        value.isUndefined() ? labels.remove(key) : void(labels.insert(key, value));
        language.insert(section, labels);
        document.insert(QStringLiteral("Ko"), language);
        return QJsonDocument(document).toJson();
    };
    const QString common = QStringLiteral("Common");
    QTest::newRow("unknown label") << withLabel(common, QStringLiteral("x"), 5) << true;
    QTest::newRow("with a byte order mark") << "\xef\xbb\xbf" + m_shipped << true;
    QTest::newRow("one label missing in one language")
        << withLabel(common, QStringLiteral("_import"), QJsonValue::Undefined) << false;
    QTest::newRow("\"export\" missing")
        << withLabel(common, QStringLiteral("export"), QJsonValue::Undefined) << false;
    QTest::newRow("last label missing")
        << withLabel(QStringLiteral("error"), QStringLiteral("sessionCodeMsg"),
                     QJsonValue::Undefined)
        << false;
    QTest::newRow("a label that is a number")
        << withLabel(common, QStringLiteral("ok"), 1) << false;
    QTest::newRow("cut off") << m_shipped.left(m_shipped.size() / 2) << false;
    QTest::newRow("empty") << QByteArray() << false;
    QTest::newRow("a list") << QByteArray("[]") << false;
    QTest::newRow("no Unicode") << QByteArray("{\"En\":\"\xff\"}") << false;
}

void TestTranslate::damagedDocuments()
{
    QFETCH(QByteArray, document);
    QFETCH(bool, decodes);
    QVERIFY(install(document));
    QCOMPARE(getLanguageLabel().has_value(), decodes);
    QCOMPARE(errors().count("error to get language: "), decodes ? 0 : 1);
    QCOMPARE(errors().count('\n'), decodes ? 0 : 1);
}

void TestTranslate::languages_data()
{
    QTest::addColumn<QStringList>("preferences");
    QTest::addColumn<Language>("language");

    const auto row = [](const char* preference, Language language) {
        QTest::newRow(preference) << QStringList{QLatin1String(preference), QStringLiteral("fr")}
                                  << language;
    };
    row("en", Language::English);
    row("fr_CA", Language::French);
    row("it", Language::Italian);
    row("es_MX", Language::Spanish);
    row("de-AT", Language::German);
    row("ko_KR", Language::Korean);
    row("pt-BR", Language::Portuguese);
    row("zh-Hans", Language::English);
    row("DE", Language::English);
    row("C", Language::English);
    row("eng", Language::English);
}

void TestTranslate::languages()
{
    QFETCH(QStringList, preferences);
    QTEST(languageFor(preferences), "language");
}

QTEST_GUILESS_MAIN(TestTranslate)
#include "tst_translate.moc"
