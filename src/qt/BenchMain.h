// The bench program as functions: quillon's main() is RunBench and EndProcess, and the UI tour
// runs the very same program with a hook that plays a user.
#pragma once

#include <functional>

class QtUi;

// Registers the view of every dialog that has one of its own (the rest get the generic form).
void RegisterViews(QtUi& ui);

// Creates the application and the Qt services, runs the main dialog until its exit sequence has
// ended, closes the windows and returns the process's exit code. `started` runs once the
// services exist, before the main dialog does.
int RunBench(int argc, char** argv, const std::function<void(QtUi&)>& started = {});

// Ends the process at once with `code`, once the output is written out. Nothing of ours is
// left to tear down: the main dialog stays alive to the end by design, its exit sequence has
// destructed and freed the D-PDU API library and stopped our threads. What would still run on
// a normal exit are the destructors and exit handlers of whatever the process loaded, such as
// a D-PDU API library that stayed mapped after it was freed, and those may wait on threads of
// their own for seconds; the bench has no reason to wait for them.
[[noreturn]] void EndProcess(int code);
