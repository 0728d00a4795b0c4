#pragma once

#include "ProgramRun.h"
#include "TestHome.h"
#include "WavGen.h"

#include <QString>
#include <gtest/gtest.h>

class MMControl;
class frmMain;
namespace Ui {
class frmMain;
}

// The program started in this process with its real main window and library, on the null
// sound device running twenty times faster than real time, in a program folder of its own.
class MainWindowTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // A sine written to <program folder>/music/<name> and opened through File Open, so the
    // window is in mode "Wave" with the file filed (and its whole-file loop made).
    QString openWave(const QString& name, double seconds, const wavgen::Format& format = {8000, 1});
    // A loop row of the open wave file; a negative end leaves endTime Null. The loops are
    // read again afterwards.
    void addLoop(qint32 start, qint32 end, const QString& comment = {});
    // Makes the first loop with that start the current one.
    void selectLoopStarting(qint32 start);

    TestHome home;
    ProgramRun run;
    frmMain* m = nullptr;
    Ui::frmMain* u = nullptr;
    MMControl* w = nullptr;
};
