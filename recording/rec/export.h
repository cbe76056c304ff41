#ifndef REC_EXPORT_H
#define REC_EXPORT_H

#include <boost/config.hpp>

/// Marks what liborvo_recording shows to the programs that link it.
#ifdef ORVO_RECORDING_BUILDING
#define ORVO_RECORDING_API BOOST_SYMBOL_EXPORT
#else
#define ORVO_RECORDING_API BOOST_SYMBOL_IMPORT
#endif

#endif
