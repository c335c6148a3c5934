// What a new line and another width cost in a chat's transcript until they are laid out, scrolled
// to and painted, with many lines above against few; and how long harmful texts hold up the
// program. Processor time.
#include "Figures.h"
#include "chat/ChatTranscript.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QTextDocument>

#include <array>
#include <memory>
#include <string>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMany = 10'000;

// Runs the event loop until every transcript is written and laid out. Returns the longest turn.
double finish()
{
    double longest = 0;
    bool isOver = false;
    while (!isOver) {
        longest = std::max(longest, Figures::processorTimeOf([&isOver] {
                               isOver = !QAbstractEventDispatcher::instance()->processEvents(
                                   QEventLoop::AllEvents);
                           }));
    }
    return longest;
}

// Of the size that it has in a new window.
std::unique_ptr<ChatTranscript> transcriptOf(int lines)
{
    auto transcript = std::make_unique<ChatTranscript>();
    transcript->resize(360, 370);
    transcript->show();
    for (int i = 0; i < lines; ++i) {
        if (i % 5 == 0) {
            transcript->appendHeader(u"Ann Carter"_s, i % 2 == 0, ChatColour::Text);
        }
        transcript->appendBody(
            u"Line %1, which is long enough to be broken once in the window."_s.arg(i), i % 2 == 0,
            i % 20 == 0 ? ChatColour::Green : ChatColour::Text);
    }
    finish();
    return transcript;
}

void newLine()
{
    std::vector<double> many;
    std::vector<double> few;
    const auto append = [](ChatTranscript& transcript, bool isLeft) {
        const double used = Figures::processorTimeOf([&transcript, isLeft] {
            transcript.appendBody(u"One more line, which is long enough to be broken once."_s,
                                  isLeft, ChatColour::Text);
            transcript.viewport()->repaint();
        });
        finish();
        return used;
    };
    const auto longTranscript = transcriptOf(kMany);
    for (int round = 0; round < 25; ++round) {
        const auto shortTranscript = transcriptOf(10);
        for (int line = 0; line < 20; ++line) {
            many.push_back(append(*longTranscript, line % 2 == 0));
            few.push_back(append(*shortTranscript, line % 2 == 0));
        }
    }
    Figures::show("a chat's line at 10,000 lines, at 10", many, few, "ms");
}

void resize()
{
    const auto longTranscript = transcriptOf(kMany);
    const auto shortTranscript = transcriptOf(10);
    std::vector<double> many;
    std::vector<double> few;
    double longest = 0;
    for (int round = 0; round < 41; ++round) {
        const auto measured = [round](ChatTranscript& transcript) {
            return Figures::processorTimeOf([&transcript, round] {
                transcript.resize(round % 2 == 0 ? 420 : 360, 370);
                transcript.viewport()->repaint();
            });
        };
        many.push_back(measured(*longTranscript));
        longest = std::max(longest, finish());
        few.push_back(measured(*shortTranscript));
        finish();
    }
    Figures::show("resizing a chat of 10,000 lines, of 10", many, few, "ms");
    Figures::show("  the longest turn until all is laid out", longest, "ms");
}

struct Harm {
    std::string name;
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

// The longest turn of the event loop that a chat's text of 65,000 bytes takes.
void harmfulTexts()
{
    for (const Harm& harm : harms()) {
        const auto transcript = transcriptOf(100);
        double longest = Figures::processorTimeOf([&transcript, &harm] {
            transcript->appendBody(harm.text, true, ChatColour::Text);
            transcript->viewport()->repaint();
        });
        longest = std::max(longest, finish());
        Figures::show(("  longest turn, 65,000 bytes of " + harm.name).c_str(), longest, "ms");
    }
}

} // namespace

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    newLine();
    resize();
    harmfulTexts();
}
