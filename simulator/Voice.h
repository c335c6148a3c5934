#pragma once

// Whose line it is that the simulator prints; the terminal shows each in its own way.
enum class Voice {
    Agent,   // a message that came from the agent
    Service, // a message that was sent to the agent
    Step,    // what the simulator does, or notices
    Failure, // why a step failed
};
