// The filter run: one pass over every message in the mailbox.
#pragma once

namespace vornelle {

// Judges each message by the three lists and the size limit, saves spam in the SpamBox, deletes it on the
// server unless test mode is on, and reports in the log and in the notification tip. Events are served once
// for each message, so that a second run, or another mail task, can start inside this one; neither loses a
// message.
void mailFilter();

}  // namespace vornelle
