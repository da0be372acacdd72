#include "HostMutex.h"
#include <binder/BpBinder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>

#include "BinderConnection.h"
#include "BinderHostHooks.h"
#include "BinderRuntime.h"
#include "BinderWire.h"

#include <log/log_tag_id.h>

#include <chrono>
#include <condition_variable>
#include <dirent.h>
#include <map>
#include <mutex>
#include <set>
#include <string>

namespace android {

namespace {

// Interval at which getService looks again for a service that is starting.
constexpr auto kRetryInterval = std::chrono::milliseconds(20);

// The in-process name service: a map from name to binder.
class LocalServiceManager : public IServiceManager {
public:
    // Waits up to maxWait for the name to be added in this process.
    sp<IBinder> waitService(const String16& name, std::chrono::milliseconds maxWait) const {
        HostMutex::Autolock lock(mServicesLock);
        auto found = [&] { return mServices.count(String8(name).string()) != 0; };
        mServicesAdded.wait_for(lock.native(), maxWait, found);
        auto it = mServices.find(String8(name).string());
        return it == mServices.end() ? nullptr : it->second;
    }

    sp<IBinder> getService(const String16& name) const override {
        return waitService(name, std::chrono::milliseconds(kGetServiceWaitMs));
    }

    sp<IBinder> checkService(const String16& name) const override {
        HostMutex::Autolock lock(mServicesLock);
        auto it = mServices.find(String8(name).string());
        return it == mServices.end() ? nullptr : it->second;
    }

    status_t addService(const String16& name, const sp<IBinder>& service, bool) override {
        if (service == nullptr) return BAD_VALUE;
        {
            HostMutex::Autolock lock(mServicesLock);
            mServices[String8(name).string()] = service;
        }
        mServicesAdded.notify_all();
        return NO_ERROR;
    }

    void clear() {
        std::map<std::string, sp<IBinder>> old;
        HostMutex::Autolock lock(mServicesLock);
        old.swap(mServices);
    }

    Vector<String16> listServices() override {
        HostMutex::Autolock lock(mServicesLock);
        Vector<String16> names;
        for (const auto& entry : mServices) names.add(String16(entry.first.c_str()));
        return names;
    }

private:
    mutable HostMutex mServicesLock;
    mutable std::condition_variable mServicesAdded;  // signalled after an add
    std::map<std::string, sp<IBinder>> mServices;    // guarded by mServicesLock
};

// Never destroyed: services stay registered while the process exits.
LocalServiceManager* localServices() {
    static LocalServiceManager* services = [] {
        LocalServiceManager* sm = new LocalServiceManager();
        sm->incStrong(nullptr);
        return sm;
    }();
    return services;
}

// Asks the process listening on the name's socket for the service.
sp<IBinder> lookUpRemote(const String16& name) {
    const std::string socketName(String8(name).string());
    sp<BinderConnection> connection = BinderRuntime::instance().connectToService(socketName);
    if (connection == nullptr) return nullptr;
    sp<BpBinder> context = connection->proxyForHandle(binderwire::kContextHandle);
    Parcel data;
    Parcel reply;
    data.writeString16(name);
    if (context->transact(binderwire::kContextLookupService, data, &reply) != NO_ERROR) {
        return nullptr;
    }
    return reply.readStrongBinder();
}

// The default name service: services of this process are found in the process first; the
// others through their sockets in the runtime directory.
class HostServiceManager : public IServiceManager {
public:
    sp<IBinder> getService(const String16& name) const override {
        const auto deadline =
                std::chrono::steady_clock::now() + std::chrono::milliseconds(kGetServiceWaitMs);
        for (;;) {
            sp<IBinder> service = checkService(name);
            if (service != nullptr) return service;
            const auto now = std::chrono::steady_clock::now();
            if (now >= deadline) return nullptr;
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now);
            // Sleeps on the local map, so a service added in this process ends the wait.
            service = localServices()->waitService(name, std::min(left, kRetryInterval));
            if (service != nullptr) return service;
        }
    }

    sp<IBinder> checkService(const String16& name) const override {
        sp<IBinder> service = localServices()->checkService(name);
        if (service != nullptr) return service;
        return lookUpRemote(name);
    }

    status_t addService(const String16& name, const sp<IBinder>& service,
                        bool allowIsolated) override {
        status_t err = localServices()->addService(name, service, allowIsolated);
        if (err != NO_ERROR) return err;
        const std::string socketName(String8(name).string());
        if (!BinderRuntime::isValidSocketName(socketName)) {
            // Still usable in this process.
            __android_log_print_tag_id(5, kBinderLogTagId, kBinderLogTag,
                                       "service %s is not reachable from other processes: "
                                       "name unfit for a socket",
                                       socketName.c_str());
            return NO_ERROR;
        }
        return BinderRuntime::instance().listen(socketName);
    }

    Vector<String16> listServices() override {
        std::set<std::string> names;
        Vector<String16> local = localServices()->listServices();
        for (size_t i = 0; i < local.size(); ++i) names.insert(String8(local[i]).string());
        DIR* dir = opendir(BinderRuntime::runtimeDirectory().c_str());
        if (dir != nullptr) {
            static const std::string kSuffix = ".sock";
            while (struct dirent* entry = readdir(dir)) {
                std::string file(entry->d_name);
                if (file.size() > kSuffix.size() &&
                    file.compare(file.size() - kSuffix.size(), kSuffix.size(), kSuffix) == 0) {
                    names.insert(file.substr(0, file.size() - kSuffix.size()));
                }
            }
            closedir(dir);
        }
        Vector<String16> out;
        for (const std::string& n : names) out.add(String16(n.c_str()));
        return out;
    }
};

// Handle 0 of every connection: answers lookups of this process's services by name.
class ContextObject : public BBinder {
protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                        uint32_t flags) override {
        if (code != binderwire::kContextLookupService) {
            return BBinder::onTransact(code, data, reply, flags);
        }
        if (reply == nullptr) return BAD_VALUE;
        return reply->writeStrongBinder(localServices()->checkService(data.readString16()));
    }
};

HostMutex gDefaultLock;
// Never destroyed, as the local map.
sp<IServiceManager>* gDefault = new sp<IServiceManager>();  // guarded by gDefaultLock

}  // namespace

sp<IBinder> binderContextObject() {
    static sp<IBinder>* context = new sp<IBinder>(new ContextObject());
    return *context;
}

void clearLocalServices() { localServices()->clear(); }

sp<IServiceManager> defaultServiceManager() {
    HostMutex::Autolock lock(gDefaultLock);
    if (*gDefault == nullptr) *gDefault = new HostServiceManager();
    return *gDefault;
}

void setDefaultServiceManager(const sp<IServiceManager>& sm) {
    HostMutex::Autolock lock(gDefaultLock);
    *gDefault = sm;
}

}  // namespace android
