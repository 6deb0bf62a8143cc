// The first run, from the user's consent to the start of the script.
#pragma once

// Asks, waits until the editor is not in use, prepares the temporary folder and starts the script
// there. Returns in any case, without waiting for the script; an unexpected failure ends the
// program with the fatal report instead. Changes nothing outside the temporary folder.
void FirstRun();
