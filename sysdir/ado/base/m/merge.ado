*! merge: join the observations of a data file to those in memory, by keys or by row
program merge
	_merge `0'
end
