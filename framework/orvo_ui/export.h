#ifndef ORVO_UI_EXPORT_H
#define ORVO_UI_EXPORT_H

#include <boost/config.hpp>

/// Marks what liborvo_ui shows to the programs that link it.
#ifdef ORVO_UI_BUILDING
#define ORVO_UI_API BOOST_SYMBOL_EXPORT
#else
#define ORVO_UI_API BOOST_SYMBOL_IMPORT
#endif

#endif
