"use strict";
// The page of a fleet is made of parts that the program writes.
keepInTouch({});
