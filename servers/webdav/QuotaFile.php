<?php

namespace QMR\WebDav;

/**
 * Reads the quota a test wrote into the server's root: {"used": N, "available": M}.
 * Read on every request so a test can change it while the server runs.
 */
class QuotaFile {

    const DEFAULT_USED = 0;
    const DEFAULT_AVAILABLE = 1073741824;

    public static function read($path) {

        $quota = array('used' => self::DEFAULT_USED, 'available' => self::DEFAULT_AVAILABLE);
        if (!is_file($path)) return $quota;

        $decoded = json_decode((string)file_get_contents($path), true);
        if (!is_array($decoded)) {
            throw new \Sabre\DAV\Exception('quota file is not a JSON object: ' . $path);
        }
        foreach (array('used', 'available') as $key) {
            if (isset($decoded[$key])) {
                if (!is_int($decoded[$key])) {
                    throw new \Sabre\DAV\Exception('quota "' . $key . '" must be an integer');
                }
                $quota[$key] = $decoded[$key];
            }
        }
        return $quota;

    }

}
