#include "Families.h"
#include "Runs.h"

#include <string>

namespace support::listing {

void addDerivation(List& list) {
    struct Given {
        std::string password = "a password";
        std::string salt = "a salt";
    };

    add(
        list, "ICryptoProvider", "deriveKeyUsingPBKDF2", "", [] { return Given(); },
        [](Given const& given) { return provider.deriveKeyUsingPBKDF2(given.password, given.salt, 20, 2); }, asIs);
}

} // namespace support::listing
