#!/bin/sh
# The "web browser" of a test computer: keeps the address it was asked to open,
# for the test to load the page as a browser would.
printf '%s\n' "$1" >>"$HOME/browser-urls"
