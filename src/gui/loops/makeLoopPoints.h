#pragma once

#include <QDialog>
#include <memory>

class LoopMarking;

namespace Ui {
class makeLoopPoints;
}

// "Make Loop Points": the window of live marking. Each press of its first button ends the
// loop being marked and begins the next at that instant (on the press, not the release, so
// the mark lands where the musician heard it); its second button closes the last loop, saves
// them all and starts the first playing. Closing it by its frame drops every mark.
//
// The lists only show the marks; what is saved comes from the marks the main window keeps
// (LoopMarking::marks).
//
// Thread: UI thread only.
class makeLoopPoints : public QDialog {
    Q_OBJECT
public:
    explicit makeLoopPoints(LoopMarking& marking);
    ~makeLoopPoints() override;
    Ui::makeLoopPoints* ui() const { return m_ui.get(); }

    void reset();
    void cmdCompletePreviousLoop_MouseDown();
    void btnKeep_Click();
    void lstStarts_MouseUp();
    void lstEnds_MouseUp();
    void Form_QueryUnload(bool& Cancel);

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void reject() override;

private:
    void Form_Load();
    void Form_Activate();
    void copySelection(class QListWidget* from, class QListWidget* to);
    LoopMarking& m_marking;
    std::unique_ptr<Ui::makeLoopPoints> m_ui;
    bool m_copying = false;
};
