#pragma once

// The views that rows of the table of commands name.

#include "View.h"

namespace ostrelctl
{

/// The services, and one of them.
View serviceTable();
View serviceFields();

/// Certificates of one store, in short, and the summary of one.
View certificateTable();
View summaryFields();

/// Certificates of any store by their ends, and server certificates by whether
/// they are due.
View expiryTable();
View renewalTable();

/// What became of certificates that were to be added.
View importTable();

/// The text that the rows at `at`, or the object there, have at `pointer`, as
/// it is or each on a line of its own.
View texts(const char* at, const char* pointer);
View lines(const char* at, const char* pointer);

/// A sentence with "{/pointer}" for what the answer has there.
View sentence(const char* text);

} // namespace ostrelctl
