#include "window_kit/PushButton.h"

#include <algorithm>

QSize PushButton::sizeHint() const
{
    constexpr int kLowest = 32; // points
    const QSize least = QPushButton::sizeHint();
    const int letter = fontMetrics().height();
    if (text().isEmpty()) { // as high as its neighbours
        const int side = std::max(2 * letter, kLowest);
        return least.expandedTo({side, side});
    }
    const QSize words = fontMetrics().size(Qt::TextShowMnemonic, text());
    const int picture = icon().isNull() ? 0 : iconSize().width() + letter / 4;
    return least.expandedTo(
        {words.width() + picture + 2 * letter, std::max(words.height() + letter, kLowest)});
}
