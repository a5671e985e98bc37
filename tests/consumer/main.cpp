// Uses each include root, so that every part of the library is linked.

#include <ostrel/CertificateIdList.h>
#include <ostrelApi/OstrelService.h>
#include <ostrl/CCertificateData.h>

#include <iostream>

int main()
{
    std::string text;
    ostrl::CCertificateData().to(text);
    const bool isFine = ostrelApi::OstrelService::getHealthStatus() == 1 &&
                        ostrel::CertificateIdList("b a", ' ').toTextList(",") == "a,b," &&
                        text.find("cert_serial 2") != std::string::npos &&
                        ostrelApi::OstrelApiException(33).getErrorId() ==
                            ostrelApi::OstrelApiException::AlreadyPresent;
    std::cout << (isFine ? "consumer: fine\n" : "consumer: wrong\n");
    return isFine ? 0 : 1;
}
