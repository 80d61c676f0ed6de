*! describe: the summary of the dataset in memory and a line for each of its variables
program describe
	_describe `0'
end
