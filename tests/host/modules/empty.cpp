// A shared object that is neither a driver nor a plugin library.
