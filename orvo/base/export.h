#ifndef BASE_EXPORT_H
#define BASE_EXPORT_H

#include <boost/config.hpp>

/// Marks what liborvo_dev shows to the programs that link it.
#ifdef ORVO_DEV_BUILDING
#define ORVO_DEV_API BOOST_SYMBOL_EXPORT
#else
#define ORVO_DEV_API BOOST_SYMBOL_IMPORT
#endif

#endif
