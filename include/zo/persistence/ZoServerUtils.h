#pragma once

// Object persistence: free functions that read data objects from rows, write them back,
// translate conditions written over property names and ask the Firebird catalog questions.
// This header includes them all; each concern has its own header beside it.
//
// Every function that touches the database takes the connection first and neither opens,
// closes nor frees it. Nothing is kept between calls. Failures raise zo::Exception carrying
// the Portuguese message meant for the user. See docs/persistence.md.

#include <zo/mapping/ObjectInfoCache.h>
#include <zo/mapping/ServerClasses.h>
#include <zo/mapping/ZoReader.h>
#include <zo/persistence/Catalog.h>
#include <zo/persistence/Conditions.h>
#include <zo/persistence/Helpers.h>
#include <zo/persistence/Reading.h>
#include <zo/persistence/Transactions.h>
#include <zo/persistence/Values.h>
#include <zo/persistence/Writing.h>
