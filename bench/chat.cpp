// What a new line and another width cost in a chat that holds as many lines as it keeps, until they
// are laid out, scrolled to and painted, against one of ten lines; and what the longest texts cost
// that one message of the link can hold. Processor time.
#include "Figures.h"
#include "chat/ChatTranscript.h"

#include <QApplication>
#include <QTest>
#include <QTextDocument>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr int kFew = 10;
constexpr int kRounds = 101;
constexpr qsizetype kMostBytes = 65'000;

// A transcript as large as in a new window.
std::unique_ptr<ChatTranscript> transcriptOf(int lines)
{
    auto transcript = std::make_unique<ChatTranscript>();
    transcript->document()->setMaximumBlockCount(lines);
    transcript->resize(360, 370);
    transcript->show();
    for (int i = 0; i < lines; ++i) {
        if (i % 5 == 0) {
            transcript->appendHeader(u"Ann Carter"_s, i % 2 == 0);
        }
        transcript->appendBody(
            u"Line %1, which is long enough to be broken once in the window."_s.arg(i), i % 2 == 0,
            i % 20 == 0 ? ChatColour::Green : ChatColour::Text);
    }
    if (!QTest::qWaitForWindowExposed(transcript.get())) {
        qFatal("the window does not come up: nothing would be painted");
    }
    return transcript;
}

// Until the change is painted and nothing is left to do.
template <typename Change>
double timeOf(ChatTranscript& transcript, const Change& change)
{
    return Figures::processorTimeOf([&transcript, &change] {
        change(transcript);
        transcript.viewport()->repaint();
        QApplication::processEvents();
    });
}

template <typename Change>
void compare(const char* what, const Change& change)
{
    std::vector<double> many;
    std::vector<double> few;
    const auto longTranscript = transcriptOf(ChatTranscript::kMostLines);
    const auto shortTranscript = transcriptOf(kFew);
    for (int round = 0; round < kRounds; ++round) {
        const auto changed = [round, &change](ChatTranscript& transcript) {
            change(transcript, round);
        };
        many.push_back(timeOf(*longTranscript, changed));
        few.push_back(timeOf(*shortTranscript, changed));
    }
    Figures::show(what, many, few, "ms");
}

void longText(const char* what, const QString& unit)
{
    const QString text = unit.repeated(kMostBytes / unit.toUtf8().size());
    const auto transcript = transcriptOf(ChatTranscript::kMostLines);
    const double used = timeOf(*transcript, [&text](ChatTranscript& changed) {
        changed.appendBody(text, true, ChatColour::Text);
    });
    Figures::show(what, used, "ms");
    const double again =
        timeOf(*transcript, [](ChatTranscript& changed) { changed.resize(420, 370); });
    Figures::show("  resizing that", again, "ms");
}

} // namespace

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    compare("a chat's line at 2,000 lines, at 10", [](ChatTranscript& transcript, int round) {
        transcript.appendBody(u"One more line, which is long enough to be broken once."_s,
                              round % 2 == 0, ChatColour::Text);
    });
    compare("resizing a chat of 2,000 lines, of 10", [](ChatTranscript& transcript, int round) {
        transcript.resize(round % 2 == 0 ? 420 : 340, 370);
    });
    longText("65,000 bytes of words in a chat", u"lorem ipsum "_s);
    longText("65,000 bytes without a blank", u"a"_s);
    longText("65,000 bytes of line breaks", u"\n"_s);
    longText("65,000 bytes of emoji", u"👨‍👩‍👧‍👦"_s);
    longText("65,000 bytes of flags", u"🇰🇷"_s);
}
