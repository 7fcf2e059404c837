// The headers that every test includes are compiled once, with this unit; it holds nothing else.
