#pragma once

// Everything that the library offers to C++.

#include "kyv/byte_buffer.h"
#include "kyv/connection_errors.h"
#include "kyv/connection_row.h"
#include "kyv/connection_row_binary.h"
#include "kyv/connection_row_by_names.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/connection_row_csv.h"
#include "kyv/connection_row_pool.h"
#include "kyv/connection_trans.h"
#include "kyv/data_types.h"
#include "kyv/data_value.h"
#include "kyv/flat.h"
#include "kyv/mutexes.h"
#include "kyv/record_printer.h"
#include "kyv/row2.h"
#include "kyv/stream_schema.h"
#include "kyv/string_utility.h"
#include "kyv/time_format_parser.h"
#include "kyv/time_to_string.h"
#include "kyv/time_unit.h"
