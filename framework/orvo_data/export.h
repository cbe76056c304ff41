#ifndef ORVO_DATA_EXPORT_H
#define ORVO_DATA_EXPORT_H

#include <boost/config.hpp>

/// Marks what liborvo_data shows to the programs that link it.
#ifdef ORVO_DATA_BUILDING
#define ORVO_DATA_API BOOST_SYMBOL_EXPORT
#else
#define ORVO_DATA_API BOOST_SYMBOL_IMPORT
#endif

#endif
