>P1;lig_one
ligase demo one
MKTAYIAKQR-QISFVKSHF
>P1;lig_two
ligase demo two
MKTAYLAKQRRQISFVKAHF
>P1;lig_three

MRSAYIAKQR-QAFIKSHF
