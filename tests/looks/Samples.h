#pragma once

#include "localisation/Translate.h"

#include <QString>
#include <QWidget>

#include <functional>

// Every window of the agent, filled with what makes it largest.
namespace Samples {

using Use = std::function<void(const QString& name, QWidget& window)>;

// Shows one window after the other in that language, and hands it over while it is shown.
void forEach(Language language, const Use& use);

} // namespace Samples
