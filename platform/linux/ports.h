// Port instructions on Linux: the rights to ports, and the accesses.
#pragma once
#include "platform/system.h"

// On processors without port instructions no port is granted.
PortApi LinuxPorts();
