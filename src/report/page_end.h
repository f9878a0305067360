// The last word on a page: whether it went out.
#pragma once

// Sends what is still to be sent. The status for the process to end with: 0, or 2
// when some of the page could not be written (a full disk, a reader that went
// away); the reason is then told on standard error.
int FinishPage();
