#pragma once

namespace CVT {

/// The type of a value: its ASN.1 tag, or one of the three exceptions that stand in place of a value.
enum ESnmpType : unsigned char {
    kInteger = 0x02,
    kOctetString = 0x04,
    kNull = 0x05,
    kObjectIdentifier = 0x06,
    kCounter32 = 0x41,
    kGauge32 = 0x42,
    kTimeTicks = 0x43,
    kNoSuchObject = 0x80,
    kNoSuchInstance = 0x81,
    kEndOfMibView = 0x82,
};

/// SNMP error-status numbers (RFC 3416), the results of handlers. As the result of a get, noSuchName also means that
/// the row is absent.
enum ESnmpStatus : int {
    noError = 0,
    tooBig = 1,
    noSuchName = 2,
    badValue = 3,
    readOnly = 4,
    genErr = 5,
    noAccess = 6,
    wrongType = 7,
    wrongLength = 8,
    wrongEncoding = 9,
    wrongValue = 10,
    noCreation = 11,
    inconsistentValue = 12,
    resourceUnavailable = 13,
    commitFailed = 14,
    undoFailed = 15,
    authorizationError = 16,
    notWritable = 17,
    inconsistentName = 18,
};

/// The phases of a SET. See BMibSubtreeHandler.h for their order.
enum class ESnmpSetOpCode : int {
    Commit = 163,        ///< store the new value and carry out its effect
    CheckAndSave = 224,  ///< reject a bad value or an absent row; save the present value in the undo cell
    Undo = 225,          ///< restore the saved value
    Release = 226,       ///< delete the saved value
};

/// The access of a column, in its request-handler entry.
enum EAccess : unsigned int {
    kReadOnly = 3,
    kReadWrite = 4,
};

/// The C++ type in which a column's handlers exchange its value.
enum EValueKind : unsigned int {
    kIntValue = 1,               ///< int&
    kOctetStringValue = 2,       ///< BOctetString&
    kObjectIdentifierValue = 3,  ///< BObjectIdentifier&
    kUnsignedValue = 4,          ///< unsigned int&
    kDisplayStringValue = 5,     ///< BOctetString&, shown as text
};

/// The SNMP version of a request, where it changes the answer: version 1 has no exceptions.
enum ESnmpVersion : int {
    kSnmpV1 = 0,
    kSnmpV2c = 1,
    kSnmpV3 = 3,
};

/// The toolkit's truth value: 1 true, 2 false.
using BTruthValue = int;

}  // namespace CVT
