// When the filter runs: the handlers of the main window's switches, its Filter Mail button and its timers.
//
// Timer_min counts the minutes while automatic filtering is on; Timer1, which ticks every 32 seconds at the
// least, looks whether the next run is due. A run started by hand begins the count again.
#pragma once

namespace vornelle {

// The switches only say in the log what they now mean: timers and filter look at the boxes themselves.
void ckActiveClick();
void ckTestModeClick();

void cmdFilterMailClick();

// Starts the filter run when CHECK_MIN minutes have been counted.
void Timer1_Timer();

// Each minute: counts towards the next filter run, while ckActive is checked, and towards the end of the web
// session.
void Timer_min_Timer();

}  // namespace vornelle
