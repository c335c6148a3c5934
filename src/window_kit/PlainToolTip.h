#pragma once

class QString;
class QWidget;

// Gives the widget a tool tip of plain text (ShownText::toolTip()); none for an empty one. Screen
// readers get the same words as its description: of a widget without one they get its tool tip,
// which is markup. Main thread.
void setPlainToolTip(QWidget& widget, const QString& text);
