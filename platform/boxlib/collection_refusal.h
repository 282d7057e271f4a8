// Why the collector refuses a box, in words, for a front end that runs the
// collector or asks what it would do.  _BoxGarbageCollect refuses exactly
// the boxes for which this gives a reason.
#pragma once

#include <string>

#include "box_analysis.h"

// The reason the collection of the analysed box is refused; empty when the
// collector compacts it.
std::string collectionRefusal(const BoxAnalysis& a);
