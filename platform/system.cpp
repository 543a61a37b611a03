#include "platform/system.h"

SystemTable System;
