#pragma once

#include "support/snapshot.h"

namespace twupdate::test {

/// The rows of a site with the numbers that the server gives to new rows, in every column that
/// refers to them, replaced by the places of these rows: an INSERT that is taken back, that dies
/// with the server, or that copies several rows leaves gaps in the numbers, and no step promises
/// that there are none.
RowSnapshot WithoutGaps(RowSnapshot rows);

}  // namespace twupdate::test
