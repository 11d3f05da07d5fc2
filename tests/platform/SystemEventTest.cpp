// The named event that link windows of every bench share: one object in a process, shared with
// other processes while they run, and unset again once all of them have gone.
#include <gtest/gtest.h>

#include <semaphore.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "platform/SystemEvent.h"

namespace {

// Runs `body` in a child process; its exit code.
template <typename Body>
int InChild(Body body)
{
    const pid_t pid = fork();
    if (pid == 0) _exit(body());
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

TEST(SystemEvent, SharedByNameAcrossProcessesWhileTheyRun)
{
    // A name of this run's own, taken away again at the end.
    const std::string name = "test" + std::to_string(getpid());
    setenv("QUILLON_EVENT_NAMESPACE", "platform_test", 1);
    const std::string base = "quillon.platform_test." + std::to_string(getuid()) + "." + name;

    // A process sets the event and ends: the next one to open it finds it unset.
    EXPECT_EQ(InChild([&] {
                  platform::OpenSystemEvent(name)->Set();
                  return 0;
              }),
              0);
    EXPECT_EQ(InChild([&] { return platform::OpenSystemEvent(name)->Wait(0) ? 1 : 0; }), 0);

    // While this process has it open, another's Set reaches it; one Set lets one wait through.
    const auto event = platform::OpenSystemEvent(name);
    EXPECT_EQ(event, platform::OpenSystemEvent(name));
    EXPECT_EQ(InChild([&] {
                  platform::OpenSystemEvent(name)->Set();
                  platform::OpenSystemEvent(name)->Set();
                  return 0;
              }),
              0);
    EXPECT_TRUE(event->Wait(1000));
    EXPECT_FALSE(event->Wait(0));

    // A waiter that is given up on leaves at once.
    bool cancelled = true;
    EXPECT_FALSE(event->Wait(platform::SystemEvent::kInfinite, [](void* c) { return *static_cast<bool*>(c); }, &cancelled));
    unsetenv("QUILLON_EVENT_NAMESPACE");
    sem_unlink(("/" + base).c_str());
    unlink(("/dev/shm/" + base + ".users").c_str());
}
