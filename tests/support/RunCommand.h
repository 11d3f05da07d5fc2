// A shell command's whole output (stdout and whatever it redirects) and its exit code.
#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <string>

struct CommandRun {
    int exitCode = -1;
    std::string output;
};

inline CommandRun RunCommand(const std::string& command)
{
    CommandRun run;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return run;
    char buffer[4096];
    for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) run.output.append(buffer, n);
    const int status = pclose(pipe);
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}
