// What has to be settled before anything else of the program runs: it may be started from a
// folder that others can write to, and on systems of very different age.
#pragma once

// Called once, first of all.
void PrepareProcess();
