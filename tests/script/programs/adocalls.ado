program adocalls
    display "adocalls loads another"
    adomain from adocalls
end
