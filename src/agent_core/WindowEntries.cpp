#include "agent_core/AppDelegate.h"

// Where the windows for conversations and the About window will be opened. There are none yet, so
// nothing happens.

void AppDelegate::presentAcknowledgement(qint64, const QString&, const QString&) {}

void AppDelegate::closeAcknowledgement() {}

void AppDelegate::showMessageInbox(const QString&, const QString&, qint64, qint64) {}

void AppDelegate::requestChat(qint32, qint32) {}

void AppDelegate::closeChat(qint32) {}

void AppDelegate::about() {}
