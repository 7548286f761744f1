#pragma once

namespace platform {

// What is said over the socket that the helper for administrator rights finds as its standard input:
//
//     helper:   kReady    everything has been checked
//     Launcher: kGo       start the tool; without it the helper ends
//     helper:   kFailed   the tool could not be started; the socket's end instead of it: the tool has started
//
// so that no tool starts for somebody who has given up waiting. Without a tool the first is all that is said.
// The tool gets an empty standard input.
struct StartHandshake {
    static constexpr char kReady = 'R';
    static constexpr char kGo = 'G';
    static constexpr char kFailed = 'F';
};

} // namespace platform
