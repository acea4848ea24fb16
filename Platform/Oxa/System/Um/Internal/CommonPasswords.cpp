#include "Oxa/System/Um/Internal/CommonPasswords.hpp"

#include <algorithm>
#include <cstddef>

namespace Oxa::System::Um::Internal
{

namespace
{

// Separated by blanks and line ends. Most are shorter than a password may be: with digits and signs around them, or
// twice in a row, they are the common passwords that are long enough.
constexpr std::string_view words = R"(
password passwort passwords passcode passphrase passwd pass passme mypass mypassword thepassword yourpassword newpassword
oldpassword nopassword password123password contrasena motdepasse wachtwoord salasana losenord haslo parola senha parool
secret secrets secretword topsecret verysecret supersecret geheim geheimnis
admin administrator admins adminadmin adm root rootroot toor superuser superadmin sysadmin sysop netadmin webadmin
user username users guest guests visitor gast benutzer anonymous nobody somebody test tests testing tester testuser
testtest demo demos example sample default defaults login logon letmein letmeinnow letmeinplease letmeout openup opensesame
open sesame access accessgranted allow enter welcome welcometo welcomehome welcomeback willkommen bienvenue bienvenido
changeme changemenow changethis changeit changepassword pleasechange pleasechangeme mustchange temp temporary temppassword
initial initialpassword firstpassword master masterkey superman service services support helpdesk help
operator operators engineer engineering technician maintenance maintainer installer installation integrator supervisor
manager management office factory factorydefault plant production process controller controllers control controlroom
machine machines machinery device devices gateway firewall router switch server client system systems network internet
intranet computer laptop desktop windows linux ubuntu debian redhat android apple macintosh database backup security secure
scada automation industry industrial robot robots pump pumps valve sensor sensors motor motors turbine boiler cabinet panel
hello hallo hellohello helloworld helloyou hithere goodbye goodmorning goodnight goodluck thankyou please
iloveyou iloveu iloveme iloveyouforever iloveyousomuch iloveyoubaby iloveyoutoo ilovemymom ilovemyself ilovegod ilovejesus
ilovehim iloveher ihateyou loveyou love lovely lovelove lover lovers loveme loveyouforever foreverlove forever always
truelove mylove myloves ichliebedich jetaime tequiero teamo liebe liebling schatz schatzi amor amore
qwerty qwertz azerty qwertyui qwertyuiop asdf asdfgh asdfghjkl zxcvbn zxcvbnm yxcvbnm qazwsx qazwsxedc
abc abcd abcde abcdef xyz aaa xxx asd qwe zxc
dragon monkey shadow sunshine princess prince football baseball basketball softball volleyball hockey soccer tennis golf
golfer futbol fussball fishing hunter hunting ranger rangers cowboy cowboys yankees lakers eagles steelers packers patriots
raiders redsox giants tigers lions bears bulls chelsea arsenal liverpool barcelona realmadrid juventus bayern manchester
michael michelle jessica jennifer jordan joshua matthew daniel danielle andrew anthony ashley amanda nicole nicholas charlie
charles thomas robert richard william david james john johnny peter paul mark maria marie mary martin george christian
christopher christine christina patrick patricia brandon justin jonathan benjamin alexander alexandra alexandre sebastian
samantha stephanie steven stephen susan sarah rebecca rachel laura linda elizabeth victoria veronica vanessa natalie
natasha melissa katherine hannah sophie julia andrea claudia sabine thomas andreas stefan markus wolfgang juergen klaus
carlos fernando francisco alejandro gabriel gabriela antonio roberto ricardo eduardo mohammed muhammad abdullah
babygirl babyboy baby babies angel angels heaven jesus jesuschrist christ god godisgood godislove blessed blessing bible
hope faith grace peace freedom liberty justice trust trustno trustnoone believe unbelievable beautiful beauty pretty
sweetie sweetheart sweety honey sugar cookie cookies chocolate candy cupcake cheese pepper ginger banana bananas orange
apples cherry strawberry blueberry pineapple tomato potato pizza coffee whiskey
summer summertime winter autumn spring january february march april june july august september october november december
monday tuesday wednesday thursday friday saturday sunday sommer herbst fruehling januar februar montag freitag samstag
sonntag today tomorrow yesterday weekend holiday holidays christmas birthday happy happyday happiness happybirthday
america american england english germany german deutschland berlin hamburg muenchen london paris france italia italy spain
espana mexico brasil canada australia austria schweiz switzerland russia moscow china beijing india tokyo japan newyork
california texas florida chicago boston denver dallas houston
batman spiderman superstar starwars startrek pokemon pikachu naruto hellokitty mickey mickeymouse minnie snoopy
tinkerbell disney harrypotter hermione gandalf frodo lordoftherings matrix terminator ironman avengers minecraft
rockyou rockstar rocknroll metallica nirvana eminem beatles slipknot ironmaiden acdc greenday linkinpark blinkone
mustang corvette ferrari porsche mercedes harley harleydavidson yamaha kawasaki suzuki honda toyota nissan camaro
killer ninja warrior knight wizard magic phoenix tiger lion eagle falcon wolf wolves panther jaguar bear buddy buster
butterfly flower flowers rainbow sunflower rose roses daisy jasmine lavender diamond diamonds silver golden gold platinum
thunder lightning storm hurricane tornado ocean river mountain moon sunrise sunset star stars skywalker starlight galaxy
money moneymoney dollar million millionaire business success winner winners champion number numberone lucky luckyone
family mother father brother sister mommy daddy grandma grandpa children friend friends friendship bestfriend
bestfriends mybaby mybabies myfamily myfriends whatever nothing something anything everything nevermind whatsup
fuckyou fuckoff fuck asshole bitch bullshit motherfucker sexy sexygirl hottie playboy pussy dick
computer1 internet1 qwertyqwerty blahblah blahblahblah foobar foobarbaz lorem loremipsum abracadabra hocuspocus
correcthorsebatterystaple thequickbrownfox quickbrownfox quickbrownfoxjumps supercalifragilisticexpialidocious
tobeornottobe maytheforcebewithyou theforce winteriscoming onceuponatime hakunamatata carpediem
monkeymonkey dragondragon donotchange dontchange donttouch keepout private confidential company companyname
mycompany homehome home homesweethome house garden kitchen school student teacher college university
112233445566 111222333444 112233112233 123456654321 123454321 123123123123 123321123321 147258369147 147258369 159357159357
159753 159951 741852963 789456123 789456123012 1234567890 123456789 12345678 1234567 123456 12345 1234 123 987654321
314159265358 271828182845 101010101010 100200300400 010203040506 102030405060 120120120120 007007007007 696969696969
420420420420 131313131313 202020202020 135792468 246813579 13579 24680 1029384756 1q2w3e4r5t 1q2w3e4r 1qaz2wsx3edc
)";

/// Fewer neighbouring keys are also neighbours by chance.
constexpr std::size_t minimumSequenceBytes = 4;

constexpr std::string_view sequences[] = {"abcdefghijklmnopqrstuvwxyz",
                                          "12345678901234567890",
                                          "qwertyuiopasdfghjklzxcvbnm",
                                          "qwertzuiopasdfghjklyxcvbnm",
                                          "azertyuiopqsdfghjklmwxcvbn",
                                          "1234567890qwertyuiop",
                                          "1qaz2wsx3edc4rfv5tgb6yhn7ujm8ik,9ol.0p;/",
                                          "1qay2wsx3edc4rfv5tgb6zhn7ujm8ik,9ol.",
                                          "zaq12wsxcde34rfvbgt56yhnmju7",
                                          "qazwsxedcrfvtgbyhnujmikolp",
                                          "qaywsxedcrfvtgbzhnujmikolp",
                                          "1q2w3e4r5t6y7u8i9o0p",
                                          "1q2w3e4r5t6z7u8i9o0p",
                                          "q1w2e3r4t5y6u7i8o9p0",
                                          "a1b2c3d4e5f6g7h8i9j0",
                                          "1a2b3c4d5e6f7g8h9i0j",
                                          "!\"§$%&/()=?",
                                          "!@#$%^&*()_+"};

bool IsBlank(char character) noexcept
{
    return character == ' ' || character == '\n';
}

} // namespace

bool IsCommonPassword(std::string_view text) noexcept
{
    if (text.empty() || std::ranges::any_of(text, &IsBlank))
    {
        return false;
    }
    std::size_t position = words.find(text);
    while (position != std::string_view::npos)
    {
        const std::size_t end = position + text.size();
        if (IsBlank(words[position - 1]) && IsBlank(words[end]))
        {
            return true;
        }
        position = words.find(text, end);
    }
    return false;
}

bool IsKeySequence(std::string_view text) noexcept
{
    return text.size() >= minimumSequenceBytes &&
           std::ranges::any_of(sequences,
                               [text](std::string_view sequence)
                               {
                                   const auto backwards =
                                       std::search(sequence.rbegin(), sequence.rend(), text.begin(), text.end());
                                   return sequence.find(text) != std::string_view::npos || backwards != sequence.rend();
                               });
}

} // namespace Oxa::System::Um::Internal
