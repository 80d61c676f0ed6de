* the log function names the open log's file
local f : log
display "[`f']"
quietly log using first, text
local f : log
display "[`f']"
quietly log using second, name(extra) text
local g : log extra
local h : log nosuch
display "[`g'] [`h']"
quietly log close extra
local g : log extra
display "[`g']"
local f : log two words
quietly log close
local f : log
display "[`f']"
