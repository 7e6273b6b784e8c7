#include "twupdate/update.h"

namespace twupdate {

// Only the central database has reference data: a site's copies stay unchanged.
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
