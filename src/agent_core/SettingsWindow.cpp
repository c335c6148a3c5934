#include "agent_core/AppDelegate.h"

// The settings window's place in the agent: start-up prepares it, the menu opens it, and the agent
// opens it by itself where nothing is configured. There is no such window yet, so nothing happens.

void AppDelegate::setUI() {}

void AppDelegate::settings() {}

void AppDelegate::updateSettings() {}

void AppDelegate::waitingSettings() {}
