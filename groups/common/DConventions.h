#pragma once

/// The module's textual conventions, by name. A constraint entry refers to one by its label, and labels may be compared by
/// address: each name is one object, wherever it is spoken of (DCVHost has them as members of its own). Constants.
struct DConventions {
    static const char cszInterfaceIndexOrZero[];        ///< "InterfaceIndexOrZero": 0 to 2147483647
    static const char cszProductID[];                   ///< "ProductID": any object identifier
    static const char cszKBytes[];                      ///< "KBytes": 0 to 2147483647
    static const char cszInternationalDisplayString[];  ///< "InternationalDisplayString": 0 to 128 octets
};
