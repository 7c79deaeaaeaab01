#pragma once

/// Every record of an HFS+ volume as it lies on the disk.
#include "hfsplus/CatalogRecords.h"
#include "hfsplus/TreeRecords.h"
#include "hfsplus/VolumeRecords.h"
