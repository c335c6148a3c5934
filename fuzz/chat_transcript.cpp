// A chat's transcript: whatever is said, it is written to its end, painted, and copied as it was.
#include "chat/ChatTranscript.h"
#include "support/Fuzzing.h"
#include "support/Offscreen.h"
#include "window_kit/ShownText.h"

#include <QApplication>
#include <QClipboard>
#include <QPixmap>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextDocument>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMostSteps = 24;
constexpr int kMostTurns = 10'000;
const QString kEnd = u"the end"_s;

class Chat {
public:
    void step(Input& input)
    {
        const bool isLeft = input.below(2) == 0;
        switch (input.below(8)) {
        case 0:
            say(ShownText::line(input.text()), true, isLeft, ChatColour::Text);
            break;
        case 1:
            say(input.text(), false, isLeft, ChatColour::Red);
            break;
        case 2:
            m_transcript.resize(20 + 2 * input.below(256), 20 + input.below(256));
            break;
        case 3:
            m_transcript.verticalScrollBar()->triggerAction(QScrollBar::SliderSingleStepSub);
            break;
        case 4:
            m_transcript.setPalette(QPalette(QColor::fromRgb(static_cast<QRgb>(input.any()))));
            break;
        case 5: // so often that it is written in several turns
            say(input.text().repeated(1 + 16 * input.below(256)).left(3'000), false, isLeft,
                ChatColour::Text);
            break;
        case 6:
            m_transcript.moveCursor(QTextCursor::Start);
            m_transcript.moveCursor(QTextCursor::NextWord, QTextCursor::KeepAnchor);
            break;
        default:
            say(input.text(), false, isLeft, ChatColour::Text);
        }
    }

    // All that was said is there, and nothing else.
    void finish()
    {
        QPixmap picture(m_transcript.size());
        m_transcript.render(&picture);
        m_transcript.appendBody(kEnd, true, ChatColour::Green);
        for (int turn = 0; turn < kMostTurns && !isWritten(); ++turn) {
            QCoreApplication::processEvents();
        }
        m_transcript.render(&picture);
        m_transcript.selectAll();
        m_transcript.copy();
        require(QApplication::clipboard()->text() == m_said + kEnd,
                "what is copied is what was said");
    }

private:
    bool isWritten() const { return m_transcript.document()->lastBlock().text() == kEnd; }

    void say(const QString& text, bool isHeader, bool isLeft, ChatColour colour)
    {
        if (isHeader) {
            m_transcript.appendHeader(text, isLeft, colour);
        } else {
            m_transcript.appendBody(text, isLeft, colour);
        }
        m_said += ShownText::shown(text).replace(QChar(QChar::LineSeparator), u'\n') + u'\n';
    }

    ChatTranscript m_transcript;
    QString m_said;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    offscreenApplication();
    Chat chat;
    Input input(viewOf(data, size));
    for (int i = 0; i < kMostSteps && !input.isEmpty(); ++i) {
        chat.step(input);
    }
    chat.finish();
    return 0;
}
