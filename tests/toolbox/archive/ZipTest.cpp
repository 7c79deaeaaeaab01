#include "archive/MakeZip.h"
#include "archive/UnpackZip.h"

#include <gtest/gtest.h>
