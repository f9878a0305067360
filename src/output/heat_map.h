// A map of weekday by hour, in which a stronger colour means more requests.
#pragma once

#include "analysis/analysis.h"
#include "output/sink.h"

// Writes the <svg> and the legend of its colours.
void DrawHeatMap(Sink& sink, const Analysis& analysis);
