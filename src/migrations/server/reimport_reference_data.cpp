#include "twupdate/update.h"

namespace twupdate {

// The reference data is the central database's alone: a site's copies are left as they are.
void Update::ReimportReferenceData(const std::string&, const std::string&, bool isSite) {
    if (!isSite) {
        ImportComponentReferenceData();
    }
}

void Update::ReimportReferenceData(const std::string& databaseName, const std::string& tablePrefix,
                                   bool isSite, Boolean& result) {
    ReimportReferenceData(databaseName, tablePrefix, isSite);
    result = kTrue;
}

}  // namespace twupdate
