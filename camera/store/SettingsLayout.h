#pragma once

#include "camera/store/Database.h"

#include <cstddef>
#include <string>

namespace camera::store {

constexpr std::size_t kPageBytes = 4096;

/**
 * What a settings file holds besides the documents: its tables, and the number of their layout.
 * The number is written twice, in two forms, so that a damaged one is not taken for a newer program's.
 */

/// @throws DatabaseError when the file was written by a newer program, and of the kind "damaged" when
///         its structure, its number or its tables are not as createLayout() makes them. A new file passes.
void checkLayout(const Database& database);

/// Creates what is missing. Only after checkLayout().
void createLayout(Database& database);

/// The first page of a settings file without documents: in every file of this layout the tables begin
/// at the same pages, so this page can stand in for one that is damaged.
std::string emptyFirstPage();

} // namespace camera::store
