// What has to be settled on a host before anything else of the program runs.
#pragma once

// Called first in WinMain. Fails at nothing: a system that lacks one of the means goes without.
void PrepareProcess();
