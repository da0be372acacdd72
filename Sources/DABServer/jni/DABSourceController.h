#ifndef DAB_SERVER_DABSOURCECONTROLLER_H
#define DAB_SERVER_DABSOURCECONTROLLER_H

#include <mediamanager/ISourceListener.h>
#include <mediamanager/MediaInfoParcel.h>
#include <mediamanager/Source.h>

class DABPlayerService;

// Placeholder until the media source integration lands.
class DABSourceController : public android::ISourceListener {
public:
    DABSourceController();
    int onRequestActivation(int request) override;
    int onRequestDeactivation(int request) override;
    int onRequestPrivateData(int request, const android::Parcel* data, android::Parcel* reply) override;
    void onNotify(int msg, int ext1, int ext2, const android::Parcel* data) override;
    virtual int publishMediaInfo(const android::MediaInfoParcel& info);
    void setMediaStatus(int status);

protected:
    ~DABSourceController() override;
};

#endif  // DAB_SERVER_DABSOURCECONTROLLER_H
