#pragma once

class QFont;
class QLabel;

// Gives the label the largest font, of the given kind and up to its size, in which the text has
// room in it; 8 points at the least. The label must have its size. Main thread.
void fitText(QLabel& label, const QFont& largest);
