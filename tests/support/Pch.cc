// The translation unit that carries the tests' precompiled header.
