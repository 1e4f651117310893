#include "DVPrivateExport.h"

const char DORVANE_PRIVATE_RELEASE = 0;
