#include "groups/storage/FileSystemType.h"

namespace {

/// The arcs below hrFSTypes.
enum EFSType : unsigned int {
    kOther = 1,
    kUnknown = 2,
    kBerkeleyFFS = 3,
    kSys5FS = 4,
    kFat = 5,
    kHPFS = 6,
    kIso9660 = 12,
    kNFS = 14,
    kAFS = 16,
    kLinuxExt2 = 23,
};

}  // namespace

unsigned int ui32GetFSType(unsigned int magic) {
    switch (magic) {
        case 0: return kUnknown;
        case 0x4D44: return kFat;
        case 0x6969: return kNFS;
        case 0x9660: return kIso9660;
        case 0xADFF: return kAFS;
        case 0xEF51:
        case 0xEF53: return kLinuxExt2;
        case 0x00011954: return kBerkeleyFFS;
        case 0x012FF7B4:
        case 0x012FF7B5:
        case 0x012FF7B6:
        case 0x012FF7B7: return kSys5FS;
        case 0xF995E849: return kHPFS;
        default: return kOther;
    }
}

CVT::BObjectIdentifier FSTypeOid(const struct statfs& fileSystem) {
    CVT::BObjectIdentifier type;
    type.AssignFromDottedDecimalStr("1.3.6.1.2.1.25.3.9");
    type.Append(ui32GetFSType(static_cast<unsigned int>(fileSystem.f_type)));
    return type;
}
