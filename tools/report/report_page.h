#pragma once

#include <string>

#include "tools/report/file_report.h"

namespace kt {

/// The page about a file, as one HTML text that asks for nothing from outside. `file` is read for what the
/// boxes say.
std::string ReportPage(const FileReport& report, FileBytes& file);

}  // namespace kt
