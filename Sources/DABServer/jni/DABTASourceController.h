#ifndef DAB_SERVER_DABTASOURCECONTROLLER_H
#define DAB_SERVER_DABTASOURCECONTROLLER_H

#include <mediamanager/ISourceListener.h>

// Placeholder until the media source integration lands.
class DABTASourceController : public android::ISourceListener {
public:
    DABTASourceController();
    int onRequestActivation(int request) override;
    int onRequestDeactivation(int request) override;
    int onRequestPrivateData(int request, const android::Parcel* data, android::Parcel* reply) override;
    void onNotify(int msg, int ext1, int ext2, const android::Parcel* data) override;

protected:
    ~DABTASourceController() override;
};

#endif  // DAB_SERVER_DABTASOURCECONTROLLER_H
