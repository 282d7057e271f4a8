// The analyse action: the selected box file analysed into the result list,
// or checked by the box library when "BXD" is checked.
#pragma once

class ActionHost;

void analyzeAction(ActionHost& host);
