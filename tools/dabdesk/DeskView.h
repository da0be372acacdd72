#ifndef DAB_TOOLS_DABDESK_DESKVIEW_H
#define DAB_TOOLS_DABDESK_DESKVIEW_H

#include "NotificationLog.h"
#include "RadioSnapshot.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

// The live view of the radio on the desk: station, labels, dynamic text, signal, presets,
// the information bar the media manager received, the power state, the last notifications
// and the last command's result. One thread at a time.
class DeskView {
public:
    // Any thread; non-blocking.
    DeskView();

    // The calling thread; blocks for one dump of the service and the six preset queries.
    void loadRadioFromDump(android::IDABPlayer& player);
    // The owner thread; blocks for the six preset queries only when a notification changed
    // the presets shown. Keeps the view current without asking the service.
    void applyNotification(android::IDABPlayer& player, const dabclient::Notification& n);
    // The owner thread; blocks only as applyNotification does. Applies the log's notifications
    // after *seenSeq and moves *seenSeq to the last one applied. False when the log no longer
    // holds all of them: the caller must start again from a dump.
    bool catchUp(android::IDABPlayer& player, const NotificationLog& log, uint64_t* seenSeq);
    // The calling thread; blocks for one round trip to the head-unit simulator. Without a
    // simulator the view says so.
    void refreshHeadUnit();
    // The owner thread; non-blocking. The last notifications and the last command's answer.
    void setRecent(const std::vector<NotificationLog::Entry>& recent) { mRecent = recent; }
    void setResult(const std::string& result) {
        mResult = result;
        mResultPage = 0;
    }
    // The owner thread; non-blocking. Turns the pages of a result longer than the screen.
    void nextResultPage() { ++mResultPage; }
    void previousResultPage() {
        if (mResultPage > 0) --mResultPage;
    }

    // The owner thread; non-blocking. The radio as last read.
    const dabclient::RadioSnapshot& radio() const { return mRadio; }
    // The simulator's "status" answer (sources, infobar, modules, lastError); null when it
    // did not answer.
    const nlohmann::json& headUnit() const { return mHeadUnit; }

    // Any thread; non-blocking. The view in lines of at most width columns; the result
    // section takes what is left of height lines (height 0: no limit).
    std::vector<std::string> render(int width, int height) const;

    // Fits UTF-8 text into exactly width columns (East Asian wide characters take two),
    // cutting or padding with blanks.
    static std::string fit(const std::string& text, int width);

    // Test side: the view model without a service or a simulator. Any thread; non-blocking.
    void setRadio(const dabclient::RadioSnapshot& radio) {
        mRadio = radio;
        mHaveRadio = true;
    }
    void setHeadUnit(const nlohmann::json& headUnit) { mHeadUnit = headUnit; }

private:
    // The media manager's entry of the DAB source, null when the simulator gave none.
    const nlohmann::json* dabSource() const;

    // All fields: the owner thread only.
    dabclient::RadioSnapshot mRadio;
    bool mHaveRadio;  // false until the first loadRadioFromDump or setRadio
    nlohmann::json mHeadUnit;
    std::vector<NotificationLog::Entry> mRecent;
    std::string mResult;
    mutable int mResultPage = 0;  // render() clamps it to the pages there are
};

#endif  // DAB_TOOLS_DABDESK_DESKVIEW_H
