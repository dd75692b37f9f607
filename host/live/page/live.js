"use strict";
// The page of a live run is kept up to date.

keepInTouch({});
