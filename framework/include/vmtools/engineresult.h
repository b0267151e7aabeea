// SPDX-License-Identifier: Apache-2.0
#pragma once

// The numeric results of the engine's creation, clone and disk operations.
// 0 is success; 5 and 7 are never produced.
namespace EngineResult {

enum Code : unsigned int {
    Success = 0,
    CreationFailed = 1,       // folder switch, import or look-up of the new device failed
    CloneFailed = 2,          // clone failed, or the machine folder could not be switched
    CloneNameExists = 3,      // a machine with the clone's name already exists
    CloneDiskFull = 4,        // the disk became full during the clone
    SdCardCreationFailed = 6, // the SD-card image could not be created
    SdCardAttachFailed = 8,   // the SD-card image could not be attached
    DiskCopyFailed = 9,       // a disk copy failed
    DiskDeletionFailed = 10,  // a disk deletion failed
    NoHostOnlyInterface = 11, // no host-only interface existed and none could be made
};

} // namespace EngineResult
