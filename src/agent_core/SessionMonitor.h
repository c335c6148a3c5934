#pragma once

// Tells the service which account has become active at the desktop. The agent itself registers it
// for no notification.
class ActiveSessionMonitor {
public:
    // Reports the login name, always, unlike the periodic report of the full name, which goes out
    // only during sessions and when the name has changed. Any thread.
    void isInActiveSession() const;

private:
    // Whether the handler is registered; whoever registers it sets this.
    [[maybe_unused]] bool isObserving = false;
};
