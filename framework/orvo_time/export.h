#ifndef ORVO_TIME_EXPORT_H
#define ORVO_TIME_EXPORT_H

#include <boost/config.hpp>

/// Marks what liborvo_time shows to the programs that link it.
#ifdef ORVO_TIME_BUILDING
#define ORVO_TIME_API BOOST_SYMBOL_EXPORT
#else
#define ORVO_TIME_API BOOST_SYMBOL_IMPORT
#endif

#endif
