#include "DABSourceController.h"
#include "DABTASourceController.h"

DABSourceController::DABSourceController() {}
DABSourceController::~DABSourceController() {}
int DABSourceController::onRequestActivation(int) { return 0; }
int DABSourceController::onRequestDeactivation(int) { return 0; }
int DABSourceController::onRequestPrivateData(int, const android::Parcel*, android::Parcel*) { return 0; }
void DABSourceController::onNotify(int, int, int, const android::Parcel*) {}
int DABSourceController::publishMediaInfo(const android::MediaInfoParcel&) { return 1; }
void DABSourceController::setMediaStatus(int) {}

DABTASourceController::DABTASourceController() {}
DABTASourceController::~DABTASourceController() {}
int DABTASourceController::onRequestActivation(int) { return 0; }
int DABTASourceController::onRequestDeactivation(int) { return 0; }
int DABTASourceController::onRequestPrivateData(int, const android::Parcel*, android::Parcel*) { return 0; }
void DABTASourceController::onNotify(int, int, int, const android::Parcel*) {}
