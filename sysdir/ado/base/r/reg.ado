*! reg: the short name of regress
program reg, eclass
	version 10.1
	regress `0'
end
