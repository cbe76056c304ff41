#ifndef ORVO_PROC_CIMAGE_EXPORT_H
#define ORVO_PROC_CIMAGE_EXPORT_H

#include <boost/config.hpp>

/// Marks what liborvo_proc_cimage shows to the programs that link it.
#ifdef ORVO_PROC_CIMAGE_BUILDING
#define ORVO_PROC_CIMAGE_API BOOST_SYMBOL_EXPORT
#else
#define ORVO_PROC_CIMAGE_API BOOST_SYMBOL_IMPORT
#endif

#endif
