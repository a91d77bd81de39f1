<?php

namespace QMR\WebDav;

use Sabre\DAV;

/**
 * Basic authentication for the one test account.
 */
class SingleUserBasicAuth extends DAV\Auth\Backend\AbstractBasic {

    private $user;
    private $password;

    public function __construct($user, $password) {

        $this->user = $user;
        $this->password = $password;

    }

    protected function validateUserPass($username, $password) {

        return hash_equals($this->user, (string)$username)
            && hash_equals($this->password, (string)$password);

    }

}
