#include "morva.h"
