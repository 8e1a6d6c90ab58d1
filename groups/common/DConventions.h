#pragma once

/// The module's textual conventions, by name. A constraint entry refers to one by its label. Labels may be compared by
/// address, because each name is a single object wherever it is used; DCVHost inherits them as its own members.
/// Constants.
struct DConventions {
    static const char cszInterfaceIndexOrZero[];        ///< "InterfaceIndexOrZero": 0 to 2147483647
    static const char cszProductID[];                   ///< "ProductID": any object identifier
    static const char cszKBytes[];                      ///< "KBytes": 0 to 2147483647
    static const char cszInternationalDisplayString[];  ///< "InternationalDisplayString": 0 to 128 octets
};
