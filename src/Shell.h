#pragma once

/// Runs a command through the shell and waits for it, as system() does, but leaves the daemon's
/// own signals alone: system() would discard a SIGINT that arrives meanwhile. The result of the
/// command is not reported.
void run_in_shell(const char* command);
