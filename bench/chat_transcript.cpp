// What a new line costs in a chat's transcript, until it is laid out, scrolled to and painted, with
// few lines above it and with many; and what harmful texts cost.

#include "chat/ChatTranscript.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTextDocument>

#include <algorithm>
#include <memory>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;

namespace {

// Of the size that it has in a new window.
std::unique_ptr<ChatTranscript> transcriptOf(qint64 lines)
{
    auto transcript = std::make_unique<ChatTranscript>();
    transcript->resize(360, 370);
    transcript->show();
    for (qint64 i = 0; i < lines; ++i) {
        if (i % 5 == 0) {
            transcript->appendHeader(u"Ann Carter"_s, i % 2 == 0, ChatColour::Text);
        }
        transcript->appendBody(
            u"Line %1, which is long enough to be broken once in the window."_s.arg(i), i % 2 == 0,
            i % 20 == 0 ? ChatColour::Green : ChatColour::Text);
    }
    QApplication::processEvents();
    transcript->viewport()->repaint();
    return transcript;
}

// Returns when the text is painted, or as much of it as is written at once.
void appendAndPaint(ChatTranscript& transcript, const QString& text, bool isLeft)
{
    transcript.appendBody(text, isLeft, ChatColour::Text);
    transcript.viewport()->repaint();
}

// The longest of the turns of the event loop in which the rest of a long text is written, in ms.
double longestTurn(ChatTranscript& transcript)
{
    double longest = 0;
    int length = 0;
    do {
        length = transcript.document()->characterCount();
        QElapsedTimer turn;
        turn.start();
        QApplication::processEvents();
        longest = std::max(longest, static_cast<double>(turn.nsecsElapsed()) / 1e6);
    } while (transcript.document()->characterCount() > length);
    return longest;
}

void oneMoreLine(benchmark::State& state)
{
    const qint64 lines = state.range(0);
    auto transcript = transcriptOf(lines);
    const QString text = u"One more line, which is long enough to be broken once."_s;
    qint64 more = 0;
    for (auto _ : state) {
        if (++more > lines / 2 + 50) { // before it is measured below many more lines
            transcript = transcriptOf(lines);
            appendAndPaint(*transcript, text, true);
            more = 0;
        }
        QElapsedTimer timer;
        timer.start();
        appendAndPaint(*transcript, text, more % 2 == 0);
        state.SetIterationTime(static_cast<double>(timer.nsecsElapsed()) / 1e9);
    }
}
BENCHMARK(oneMoreLine)
    ->Arg(10)
    ->Arg(1'000)
    ->Arg(10'000)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

struct Harm {
    const char* name;
    QString text;
};

// As much as one message of the link holds, 65,536 bytes of UTF-8.
QList<Harm> harms()
{
    const auto filled = [](const QString& unit) {
        return unit.repeated(65'000 / unit.toUtf8().size());
    };
    return {
        {"words", filled(u"lorem ipsum "_s)},
        {"no place to break", filled(u"a"_s)},
        {"line breaks", filled(u"\n"_s)},
        {"a thousand combining marks", u'a' + QString(1'000, QChar(0x301))},
        {"combining marks only", filled(QString(QChar(0x301)))},
        {"overrides", filled(QString(QChar(0x202E)))},
        {"control characters", filled(QString(QChar(0x01)))},
        {"NUL", filled(QString(QChar(QChar::Null)))},
        {"joiners", filled(QString(QChar(0x200D)))},
        {"emoji families", filled(u"👨‍👩‍👧‍👦"_s)},
        {"Hangul", filled(u"한"_s)},
        {"directions mixed", filled(u"abc مرحبا 123 "_s)},
    };
}

void harmfulText(benchmark::State& state, const QString& text)
{
    double longest = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const auto transcript = transcriptOf(100);
        state.ResumeTiming();
        appendAndPaint(*transcript, text, true);
        state.PauseTiming();
        longest = std::max(longest, longestTurn(*transcript));
        state.ResumeTiming();
    }
    state.counters["longest turn after, ms"] = longest;
}

void lineAfter(benchmark::State& state, const QString& text)
{
    const auto transcript = transcriptOf(100);
    appendAndPaint(*transcript, text, true);
    longestTurn(*transcript);
    for (auto _ : state) {
        appendAndPaint(*transcript, u"And then?"_s, true);
    }
}

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QApplication application(argc, argv);
    for (const Harm& harm : harms()) {
        const std::string name = std::string("/") + harm.name;
        benchmark::RegisterBenchmark(("harmfulText" + name).c_str(), harmfulText, harm.text)
            ->Iterations(10)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("lineAfter" + name).c_str(), lineAfter, harm.text)
            ->Iterations(10)
            ->Unit(benchmark::kMillisecond);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
