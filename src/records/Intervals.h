#pragma once

#include <chrono>

// How long the agent waits for each thing. One place, so that tests can shorten it; the program
// itself never changes a value. Main thread, before the waits begin.
struct Intervals {
    using milliseconds = std::chrono::milliseconds;

    milliseconds untilSettings{5'000};      // from the start to the settings window
    milliseconds untilStatusRequest{5'000}; // from the start, or what was lost, to asking for it
    milliseconds untilIconHint{30'000}; // from the start to the hint that no panel shows the icon
    milliseconds userUpdate{60'000};    // between two looks at the user's full name
    milliseconds restartRequest{2'000}; // time to send the restart request
    milliseconds showConnection{2'000}; // from a session's start to the status window
    milliseconds hideConnection{5'000}; // from the last session's end to its closing
    milliseconds untilQuestionNotification{10'000}; // from a question in sight to its notification
    milliseconds endReport{2'000}; // from the user's end of a session to reports that know it
    milliseconds clock{1'000};     // between two looks at a running clock
    milliseconds departure{8'000}; // from a chat member's departure to its notice

    static Intervals& current()
    {
        static Intervals intervals;
        return intervals;
    }
};
