// One QApplication for every Qt test of the program (offscreen, from ctest's environment).
#pragma once

#include <QApplication>
#include <QElapsedTimer>
#include <QThread>
#include <QToolTip>

inline void EnsureQtApp()
{
    static int argc = 1;
    static char name[] = "test_qt";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance()) new QApplication(argc, argv);
}

// Hides the tooltip and waits until it has gone (the toolkit hides it after a short delay).
inline void HideToolTip()
{
    QToolTip::hideText();
    QElapsedTimer waited;
    waited.start();
    while (QToolTip::isVisible() && waited.elapsed() < 5000) {
        QCoreApplication::processEvents();
        QThread::msleep(10);
    }
}
