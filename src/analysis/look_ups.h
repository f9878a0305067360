// Names of addresses, many asked for at once, within a limit of time.
//
// The helper that asks (look_up_helper.h) and the time that is left are file-scope state.
#pragma once

#include "analysis/look_up_helper.h"

// Starts the helper, if it is not there. To be called before the process gives up starting others; who does
// not is served as long as it has not.
void StartLookUps();

// From now on a run may wait for answers as long as this, all waits together.
void LimitLookUps(int seconds);

// Whether the time is over.
bool LookUpsAreOver();

// Asks, without waiting; at most kMostAtOnce questions may be under way. False when the time is over or there
// is nobody to ask.
bool AskForName(const LookUpQuestion& question);

// Waits for the answer to any question that is under way. False when the time is over or nobody answers any
// more: no answer comes then.
bool NextAnswer(LookUpAnswer& answer);

// Ends the helper, if it is there, and with it all questions.
void StopLookUps();
