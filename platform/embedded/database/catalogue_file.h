#pragma once

#include <string_view>

namespace ohmwise::embedded {

/// Makes an empty catalogue and puts it in place whole: the tables CompDB, CatDB, OrgDB, CableDB
/// and Misc with their first rows. Those are component 1, category 0 and cable 0, with empty texts:
/// the records that lookups fall back to and that the first new key is counted from.
///
/// `location` is a file that does not exist yet, or the URL of a PostgreSQL database
/// ("postgresql://...") without these tables. Raises the provider's error and leaves nothing
/// behind.
void CreateCatalogue(std::u16string_view location);

}  // namespace ohmwise::embedded
