// Process entry of the DAB player service, started by init.
#include "DABServiceStartup.h"

int main() { return dabplayer_service_start(true); }
