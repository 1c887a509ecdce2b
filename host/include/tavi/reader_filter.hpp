// The filter of extractor::reader_filter, parsed.
#ifndef TAVI_READER_FILTER_HPP
#define TAVI_READER_FILTER_HPP

#include "qorcpp/reader_filter.hpp"

namespace tavi::host {

using qor::reader_filter;

} // namespace tavi::host

#endif
