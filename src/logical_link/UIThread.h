// The service object through which a link dialog's workers reach its log and its list of running
// ComPrimitives. It owns a thread that runs only a message loop (message 1123 ends it); every
// other operation is an ordinary call on the caller's thread, made under the right lock.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string_view>
#include <thread>

#include "controls/PrintListCtrl.h"

class LoLiDialogKeldaPDUAPI;

class UIThread {
public:
    static constexpr unsigned kQuitMessage = 1123;

    explicit UIThread(std::recursive_mutex& printLock);
    ~UIThread();
    UIThread(const UIThread&) = delete;
    UIThread& operator=(const UIThread&) = delete;

    // Starts the message loop; start-up always succeeds.
    bool CreateThread();
    // Ends the loop (if nothing else did) and waits for it.
    void ExitThread();
    void PostThreadMessage(unsigned message, uintptr_t wParam);
    // The value the loop was told to quit with.
    uint8_t QuitValue() const;
    bool IsLoopRunning() const;

    void Print(PrintListCtrl& log, int column, const char* text);
    void PrintFormat(PrintListCtrl& log, int column, const char* format, ...) QUILLON_PRINTF(4, 5);
    // The lines of one event at once.
    void PrintBatch(PrintListCtrl& log, int column, std::string_view text);
    void FlushLog(PrintListCtrl& log);
    void ClearLog(PrintListCtrl& log);

    void AddActiveCoP(LoLiDialogKeldaPDUAPI& dialog, uint32_t handle);
    void RemoveActiveCoP(LoLiDialogKeldaPDUAPI& dialog, uint32_t handle);
    void ClearActiveCoPs(LoLiDialogKeldaPDUAPI& dialog);
    void RefreshActiveCoPCombo(LoLiDialogKeldaPDUAPI& dialog);

private:
    void Run();

    std::recursive_mutex& m_printLock;
    mutable std::mutex m_mutex;
    std::condition_variable m_cv;
    std::deque<std::pair<unsigned, uintptr_t>> m_messages;
    bool m_running = false;
    uint8_t m_quitValue = 0;
    std::thread m_thread;
};
