#pragma once

// Whose line the simulator prints. Each kind has a colour and a prefix of its own.
enum class Voice {
    Agent,   // a message that came from the agent
    Service, // a message that was sent to the agent
    Step,    // what the simulator does or notices
    Failure, // why a step failed
};
