#include <binder/IServiceManager.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>

namespace android {

namespace {

// The in-process name service: a map from name to binder.
class LocalServiceManager : public IServiceManager {
public:
    sp<IBinder> getService(const String16& name) const override {
        std::unique_lock<std::mutex> lock(mServicesLock);
        auto found = [&] { return mServices.count(String8(name).string()) != 0; };
        mServicesAdded.wait_for(lock, std::chrono::seconds(2), found);
        auto it = mServices.find(String8(name).string());
        return it == mServices.end() ? nullptr : it->second;
    }

    sp<IBinder> checkService(const String16& name) const override {
        std::lock_guard<std::mutex> lock(mServicesLock);
        auto it = mServices.find(String8(name).string());
        return it == mServices.end() ? nullptr : it->second;
    }

    status_t addService(const String16& name, const sp<IBinder>& service, bool) override {
        if (service == nullptr) return BAD_VALUE;
        {
            std::lock_guard<std::mutex> lock(mServicesLock);
            mServices[String8(name).string()] = service;
        }
        mServicesAdded.notify_all();
        return NO_ERROR;
    }

    Vector<String16> listServices() override {
        std::lock_guard<std::mutex> lock(mServicesLock);
        Vector<String16> names;
        for (const auto& entry : mServices) names.add(String16(entry.first.c_str()));
        return names;
    }

private:
    mutable std::mutex mServicesLock;
    mutable std::condition_variable mServicesAdded;
    std::map<std::string, sp<IBinder>> mServices;  // guarded by mServicesLock
};

std::mutex gDefaultLock;
sp<IServiceManager> gDefault;  // guarded by gDefaultLock

}  // namespace

sp<IServiceManager> defaultServiceManager() {
    std::lock_guard<std::mutex> lock(gDefaultLock);
    if (gDefault == nullptr) gDefault = new LocalServiceManager();
    return gDefault;
}

void setDefaultServiceManager(const sp<IServiceManager>& sm) {
    std::lock_guard<std::mutex> lock(gDefaultLock);
    gDefault = sm;
}

}  // namespace android
